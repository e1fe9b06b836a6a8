"""The program among others: terminals, pipes, signals, full disks; help, manual and completions."""

import os
import pty
import select
import signal
import subprocess
import time

import numpy
import pytest
from conftest import PROGRAM

GOOD = "t,a\n0,0\n1,1\n2,4\n3,9\n4,16\n"
ENDLESS = ["sample", "mt19937", "-n", "1e15"]


def start(folder, *arguments, **more):
    return subprocess.Popen([PROGRAM, *arguments], cwd=folder, **more)


def read_terminal(*arguments, folder, until, seconds=10):
    """What a program writes to its standard error, a terminal, until a text has come."""
    main, side = pty.openpty()
    process = start(folder, *arguments, stdout=subprocess.DEVNULL, stderr=side)
    os.close(side)
    text = b""
    begin = time.monotonic()
    while until not in text and time.monotonic() < begin + seconds and select.select([main], [], [], seconds)[0]:
        try:
            text += os.read(main, 4096)
        except OSError:  # nobody writes any more
            break
    process.kill()
    process.wait()
    os.close(main)
    return text.decode()


def test_progress_on_a_terminal(ravenfit):
    shown = read_terminal(*ENDLESS, folder=ravenfit.folder, until=b"left")
    assert " % " in shown.replace("%,", "% ") and "rows/s" in shown
    numpy.save(ravenfit.folder / "in.npy", numpy.zeros(3))
    ravenfit.write("in.csv", GOOD)
    assert read_terminal("resample", "in.csv", "-n", "3", folder=ravenfit.folder, until=b"never") == ""
    assert read_terminal(*ENDLESS, "--quiet", folder=ravenfit.folder, until=b"left", seconds=2) == ""


@pytest.mark.parametrize("end", [signal.SIGINT, signal.SIGTERM, signal.SIGHUP])
def test_signals_leave_no_half_file(ravenfit, end):
    ravenfit.write("out.csv", "old")
    process = start(ravenfit.folder, *ENDLESS, "-o", "out.csv")
    while len(os.listdir(ravenfit.folder)) < 2:
        time.sleep(0.01)
    process.send_signal(end)
    assert process.wait(10) == -end
    assert os.listdir(ravenfit.folder) == ["out.csv"]
    assert (ravenfit.folder / "out.csv").read_text() == "old"


def test_failures_leave_no_half_file(ravenfit):
    ravenfit.write("in.csv", GOOD.replace("9", "x"))
    ravenfit.write("out.csv", "old")
    ravenfit("resample", "in.csv", "-n", 9, "-o", "out.csv", code=1)
    ravenfit.write("in.csv", GOOD)
    ravenfit("resample", "in.csv", "--step", 1, "--to", 9, "--outside", "refuse", "-o", "out.csv", code=1)
    assert sorted(os.listdir(ravenfit.folder)) == ["in.csv", "out.csv"]
    assert (ravenfit.folder / "out.csv").read_text() == "old"


def test_files_are_replaced_as_they_are(ravenfit):
    """A file may be its own source; its mode stays, and so does a link to it."""
    ravenfit.write("in.csv", GOOD)
    os.chmod(ravenfit.folder / "in.csv", 0o640)
    os.symlink("in.csv", ravenfit.folder / "link.csv")
    ravenfit("resample", "in.csv", "-n", 3, "-k", "linear", "-o", "link.csv")
    assert (ravenfit.folder / "in.csv").read_text() == "t,a\n0,0\n2,4\n4,16\n"
    assert os.stat(ravenfit.folder / "in.csv").st_mode & 0o777 == 0o640
    assert os.path.islink(ravenfit.folder / "link.csv")


@pytest.mark.parametrize("format", ["csv", "npy"])
def test_full_disk(ravenfit, format):
    ravenfit("sample", "mt19937", "-n", 1e4, "--format", format, "-o", "/dev/full", code=1)
    assert ravenfit.errors == "ravenfit: /dev/full: No space left on device\n"
    with open("/dev/full", "wb") as full:
        done = subprocess.run([PROGRAM, "info"], stdout=full, stderr=subprocess.PIPE)
    assert (done.returncode, done.stderr) == (1, b"ravenfit: standard output: No space left on device\n")


def test_closed_pipe(ravenfit):
    process = start(ravenfit.folder, *ENDLESS, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    process.stdout.read(1000)
    process.stdout.close()
    assert process.wait(10) == -signal.SIGPIPE and process.stderr.read() == b""
    process.stderr.close()


def test_memory_stays_flat(ravenfit):
    """Twenty times as much through a pipe needs no more memory, whatever the kind; see `./run bigfile` for a large file."""

    def most_memory(rows):
        block = "".join(f"%d{i:05d},{i % 97},{i % 89}\n" for i in range(100000))
        process = start(ravenfit.folder, "resample", "-", "--step", "0.5", stdin=subprocess.PIPE, stdout=subprocess.DEVNULL)
        for k in range(1, rows // 100000 + 1):
            process.stdin.write((block % ((k,) * 100000)).encode())
        process.stdin.close()
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = status
        assert status == 0
        return usage.ru_maxrss

    # Some windows' worth of both.
    assert most_memory(1_500_000) < 1.2 * most_memory(500_000)


def test_plots(ravenfit):
    ravenfit.write("in.csv", "t,it's $a\n" + GOOD[4:])
    ravenfit("plot", "in.csv", "--kinds", "natural,akima", "-o", "it's.svg")
    svg = (ravenfit.folder / "it's.svg").read_text()
    assert "<svg" in svg and "natural" in svg and "akima" in svg and "it's $a" in svg.replace("&apos;", "'").replace("&#39;", "'")
    ravenfit("plot", "in.csv", "--size", "300x200", "-o", "out.png")
    assert (ravenfit.folder / "out.png").read_bytes()[16:24] == bytes([0, 0, 1, 44, 0, 0, 0, 200])
    drawn = ravenfit("plot", "in.csv", "--size", "60x20").decode()
    assert len(drawn.splitlines()) >= 19 and "#" in drawn or "*" in drawn


def test_info(ravenfit, monkeypatch):
    monkeypatch.setenv("RVN_KERNEL_LEVEL_FORCE", "2")
    text = ravenfit("info").decode()
    assert "level     2 (SSE2)" in text and "faster    unset RVN_KERNEL_LEVEL_FORCE" in text


def test_help_manual_and_completions(ravenfit):
    names = "resample eval fit integrate smooth plot sample check info".split()
    manual = ravenfit("--manual-page").decode()
    for name in names:
        text = ravenfit(name, "--help").decode()
        examples = text.split("Examples:\n")[1].strip("\n")
        assert f"ravenfit {name}" in examples and f".SS ravenfit {name}" in manual
        assert examples.splitlines()[-1].replace("\\", "\\e").replace("-", "\\-") in manual
    done = subprocess.run(["groff", "-man", "-ww", "-Tutf8", "-z"], input=manual.encode(), capture_output=True)
    assert (done.returncode, done.stderr) == (0, b"")
    ravenfit.write("completion", ravenfit("--bash-completion"))

    def completed(*words):
        script = f"source ./completion; COMP_WORDS=({' '.join(words)}); COMP_CWORD={len(words) - 1}; _ravenfit; echo ${{COMPREPLY[@]}}"
        return subprocess.check_output(["bash", "-c", script], cwd=ravenfit.folder).decode().split()

    assert completed("ravenfit", "s") == ["smooth", "sample"]
    assert completed("ravenfit", "fit", "--kind", "pc") == ["pchip"]
    assert completed("ravenfit", "sample", "--sk") == ["--skip"]
    assert completed("ravenfit", "check", "comp") == ["completion"]
    assert ravenfit("--version").startswith(b"ravenfit 0.") and ravenfit("--help").count(b"\n") > 12
    ravenfit(code=2)
    ravenfit("unknown", code=2)
    ravenfit("resample", "in.csv", "--unknown", code=2)
