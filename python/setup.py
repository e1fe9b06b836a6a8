"""The package `ravenfit`: the library's own sources, built for this machine, with a thin layer over them."""

import pathlib
import re
import shutil

from skbuild import setup
from skbuild.command.sdist import sdist

HERE = pathlib.Path(__file__).resolve().parent
# A source distribution has the library beside this file; in the repository it is the folder above.
LIBRARY = HERE / "library" if (HERE / "library").is_dir() else HERE.parent


class SourceDistribution(sdist):
    """Takes the library's sources along."""

    def make_release_tree(self, base_dir, files):
        super().make_release_tree(base_dir, files)
        to = pathlib.Path(base_dir) / "library"
        for part in ("src", "include", "cmake"):
            shutil.copytree(LIBRARY / part, to / part, dirs_exist_ok=True)
        for part in ("CMakeLists.txt", "LICENSE"):
            shutil.copy2(LIBRARY / part, to / part)


version = re.search(r"ravenfit VERSION ([0-9.]+)", (LIBRARY / "CMakeLists.txt").read_text()).group(1)

setup(
    name="ravenfit",
    version=version,
    description="Splines, random streams and tridiagonal systems, with SciPy's and NumPy's words",
    license="BSD-3-Clause",
    packages=["ravenfit"],
    package_data={"ravenfit": ["py.typed", "*.pyi"]},
    cmake_install_dir="ravenfit",
    cmake_languages=("C", "CXX"),
    cmdclass={"sdist": SourceDistribution},
    python_requires=">=3.9",
    install_requires=["numpy>=1.21"],
    extras_require={"test": ["pytest", "hypothesis", "scipy"]},
    zip_safe=False,
)
