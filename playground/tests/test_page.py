"""The page in a headless Chromium: what people do to it, and what it must say.

Arguments come by the environment: PAGE, the file; NATIVE, the program of native.cpp; LIBRARY, a build of the library; PYTHON,
an interpreter that has the package, without which the programs in Python are not run.
"""

import json
import os
import re
import subprocess
from pathlib import Path

import pytest
from selenium import webdriver
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.ui import Select, WebDriverWait

PAGE = Path(os.environ["PAGE"]).resolve().as_uri()
LIBRARY = Path(os.environ["LIBRARY"]).resolve()
PYTHON = os.environ.get("PYTHON")
ROOT = Path(__file__).resolve().parents[2]
CASES = [json.loads(line) for line in subprocess.check_output([os.environ["NATIVE"]], text=True).splitlines()]
OFFERED = [case for case in CASES if case["kind"] not in ("hermite", "second-derivatives")]


@pytest.fixture(scope="session")
def browser():
    options = webdriver.ChromeOptions()
    for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--window-size=1300,1400"):
        options.add_argument(argument)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    driver = webdriver.Chrome(options=options)
    yield driver
    driver.quit()


@pytest.fixture
def page(browser):
    yield browser
    assert browser.get_log("browser") == []


def go(page, address=""):
    page.get("about:blank")
    page.get(PAGE + address)
    WebDriverWait(page, 10).until(lambda d: d.find_elements(By.CSS_SELECTOR, "main:not([hidden])"))


def by_id(page, name):
    return page.find_element(By.ID, name)


def points(page):
    return page.find_elements(By.CSS_SELECTOR, "circle.point")


def places(page):
    labels = page.execute_script("return [...document.querySelectorAll('circle.point')].map(c => c.ariaLabel)")
    return [[float(v) for v in re.search(r"x (\S+), y (\S+)", label).groups()] for label in labels]


def table(page):
    """Columns of the table of values with all digits, that of x first; None where there is no value."""
    rows = page.execute_script(
        "return [...document.querySelectorAll('#table tr')].slice(1).map(r => [...r.cells].map(c => c.title))"
    )
    return [[None if v == "none" else float(v) for v in column] for column in zip(*rows)]


def ask(page, sites):
    field = by_id(page, "at")
    field.clear()
    field.send_keys(", ".join(map(str, sites)) + Keys.TAB)


def address(case):
    def end(side):
        return f"{case[side]['type']}:{case[side]['value']}"

    if "left" in case:
        return f"curve={case['kind']}~{end('left')}~{end('right')}"
    number = case.get("lambda", case.get("midpoint"))
    return f"curve={case['kind']}" + ("" if number is None else f"~{number}")


def data_of(case):
    return "points=" + "_".join(f"{x},{y}" for x, y in zip(case["x"], case["y"]))


@pytest.mark.parametrize("data", ["smooth", "many"])
def test_a_dragged_point_takes_the_curves_along(page, data):
    go(page, f"#set={data}&curve=cubic&curve=akima&curve=pchip&curve=steffen&curve=linear")
    before = places(page)
    middle = len(before) // 2
    ActionChains(page).drag_and_drop_by_offset(points(page)[middle], 20, -90).perform()
    # Of points that lie close together one was meant, and it stays between its neighbours.
    (moved,) = [i for i, now in enumerate(places(page)) if now != before[i]]
    x, y = places(page)[moved]
    assert abs(moved - middle) <= 2 and before[moved][0] <= x < before[moved + 1][0] and y > before[moved][1]
    ask(page, [x])
    for column in table(page)[1:]:
        assert column == [pytest.approx(y, abs=1e-15)]
    # The address keeps all of it, in another window too.
    WebDriverWait(page, 5).until(lambda d: f"{x},{y}" in d.current_url and f"at={x}&" in d.current_url)
    kept, seen = page.current_url, table(page)
    page.get("about:blank")
    page.get(kept)
    WebDriverWait(page, 10).until(lambda d: points(d))
    assert places(page)[moved] == [x, y] and table(page) == seen


def test_points_come_go_and_move_by_keyboard_and_pointer(page):
    go(page, "#set=step")
    count = len(points(page))
    page.execute_script("document.querySelector('circle[tabindex=\"0\"]').focus()")
    keys = ActionChains(page)
    keys.send_keys(Keys.PAGE_DOWN, Keys.ARROW_UP, Keys.ARROW_RIGHT, Keys.ARROW_RIGHT).perform()
    first, (x, y) = places(page)[:2]
    assert x > 0.8 and y > 0 and first == [0, 0]
    ActionChains(page).send_keys(Keys.DELETE).perform()
    assert len(points(page)) == count - 1 and places(page)[1][0] == 1.8
    by_id(page, "add").click()
    assert len(points(page)) == count
    panel = by_id(page, "values")
    ActionChains(page).move_to_element_with_offset(panel, 37, 40).double_click().perform()
    assert len(points(page)) == count + 1
    ActionChains(page).click_and_hold(points(page)[2]).pause(0.9).release().perform()
    assert len(points(page)) == count
    ask(page, [])
    ActionChains(page).drag_and_drop_by_offset(points(page)[3], 900, 0).perform()
    xs = [x for x, _ in places(page)]
    assert xs == sorted(xs)


@pytest.mark.parametrize("outside", ["proceed", "clamp", "wrap", "nan"])
def test_every_kind_and_end_has_the_values_of_the_native_library(page, outside):
    cases = [case for case in OFFERED if case["outside"] == outside]
    for first in range(0, len(cases), 8):
        group = cases[first : first + 8]
        sites = ",".join(map(str, group[0]["sites"]))
        go(page, "#" + "&".join([data_of(group[0]), *map(address, group), f"outside={outside}", f"at={sites}"]))
        for case, column in zip(group, table(page)[1:], strict=True):
            # A lambda that is searched for is known to 1e-5 of itself.
            close = 1e-4 if case.get("lambda", 0) is None else 1e-13
            for got, native in zip(column, case["values"], strict=True):
                assert got == (None if native is None else pytest.approx(native, rel=close, abs=close)), case


SHOWN = [
    "curve=cubic~not-a-knot~slope:0.5&outside=proceed",
    "curve=cubic~free~free&outside=nan",
    "curve=akima~own~own&outside=proceed",
    "curve=modified-akima~slope:1~not-a-knot&outside=clamp",
    "curve=pchip~periodic~periodic&outside=wrap",
    "curve=steffen~curvature:-1~free&outside=proceed",
    "curve=bessel~not-a-knot~not-a-knot&outside=clamp",
    "curve=subbotin~slope:0.25~curvature:2&outside=proceed",
    "curve=quadratic~0.4&outside=proceed",
    "curve=linear&outside=clamp",
    "curve=smoothing~0.05&outside=proceed",
    "curve=smoothing&outside=proceed",
]


def build_and_run(language, text, folder):
    flags = [f"-I{ROOT / 'include'}", str(LIBRARY / "src" / "libravenfit.a"), "-o", str(folder / "curve")]
    if language == "command":
        env = {**os.environ, "PATH": f"{LIBRARY / 'command'}:{os.environ['PATH']}"}
        lines = subprocess.check_output(["bash", "-euc", text], text=True, cwd=folder, env=env).splitlines()[1:]
        return [line.replace(",", " ") for line in lines]
    if language == "python":
        return subprocess.check_output([PYTHON, "-c", text], text=True, cwd=folder).splitlines()
    compiler, name = (["g++", "-std=c++17"], "curve.cpp") if language == "cpp" else (["gcc", "-std=c99", "-pedantic"], "curve.c")
    (folder / name).write_text(text)
    link = [] if language == "cpp" else ["-lm"]
    subprocess.run([*compiler, "-Wall", "-Wextra", "-Werror", str(folder / name), *flags, *link], check=True)
    return subprocess.check_output([str(folder / "curve")], text=True).splitlines()


@pytest.mark.parametrize("shown", SHOWN)
def test_the_programs_print_the_values_shown(page, tmp_path, shown):
    go(page, f"#set=outlier&{shown}&at=-1,0.5,3,7.3,12,13.5")
    sites, values = table(page)
    for language in ["cpp", "c", "command"] + ["python"] * bool(PYTHON):
        Select(by_id(page, "language")).select_by_value(language)
        text = by_id(page, "code").get_attribute("textContent")
        if text.startswith("#") and "own ends in Python" in text:
            continue
        printed = [[float(v) for v in line.split()] for line in build_and_run(language, text, tmp_path)]
        for got, site, value in zip(printed, sites, values, strict=True):
            if value is None:
                assert got[0] == site and got[1] != got[1], language
            else:
                assert got == [site, pytest.approx(value, rel=1e-8, abs=1e-8)], language


PASTED = [
    ("", "no numbers"),
    ("1,2\n1,3", "occurs twice"),
    ("1,2\n2,abc", "Line 2: “abc” is no number"),
    ("1,2\n2,NaN", "Line 2: “NaN” is no number"),
    ("1,2\n2,1e999", "not within"),
    ("0x10,2\n2,3", "“0x10” is no number"),
    ("1\n2\n3", "two numbers are wanted"),
    ("x,y\na,b", "“a” is no number"),
    ("1,2", "at least two points"),
    ("1,2\n1.0000000000000002,3\n5,5", "too close together"),
    ("<script>alert(1)</script>,2\n<b>,1", "“<script>alert(1)</script…” is no number"),
    ("\x00\x01,\x02", "no numbers"),
    ("\n".join(f"{i},{i}" for i in range(20001)), "more than 20000"),
    ("t;v\r\n3;1,5\r\n1;2,5\r\n2;0\r\n", "3 points taken, sorted by x"),
    ('\ufeff# note\n"x"\t"y"\n"1"\t"2"\n\n2\t3', "2 points taken"),
]


def test_what_is_pasted_is_taken_or_answered(page):
    go(page)
    by_id(page, "paste").click()
    for text, answer in PASTED:
        # Zeros and line ends as they are, which keys would change.
        page.execute_script("document.getElementById('csv').value = arguments[0]", text)
        by_id(page, "take").click()
        said = by_id(page, "message")
        assert answer in said.text, text[:40]
        assert ("bad" in said.get_attribute("class")) == ("taken" not in answer)
    assert places(page) == [[1, 2], [2, 3]]


def test_bad_addresses_are_told_and_never_break_the_page(page):
    for part in (
        "points=1,2_1,3", "points=1,2,3_4,5", "points=NaN,1_2,Infinity", "points=", "set=__proto__",
        "curve=cubic~own~own", "curve=pchip~periodic~free", "curve=smoothing~-1", "curve=constructor", "curve=cubic~slope:x~free",
    ):  # fmt: skip
        go(page, f"#{part}")
        assert "cannot be read" in by_id(page, "message").text, part
        assert len(points(page)) == 13
    go(page, "#tab=draw&draw=__proto__,x,99,-1,1e9,m,-5,toString,NaN,valueOf&code=exe,9&at=x&outside=hasOwnProperty&%")
    assert "t = 0;" in by_id(page, "about").text


def test_a_browser_without_vectors_is_told_so(page):
    script = page.execute_cdp_cmd("Page.addScriptToEvaluateOnNewDocument", {"source": "WebAssembly.validate = () => false"})
    page.get("about:blank")
    page.get(PAGE)
    missing = by_id(page, "missing")
    assert missing.is_displayed() and "SIMD" in missing.text
    page.execute_cdp_cmd("Page.removeScriptToEvaluateOnNewDocument", script)


def test_the_page_fits_a_phone(page):
    for tab in ("fit", "draw"):
        page.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {"width": 360, "height": 740, "deviceScaleFactor": 2, "mobile": True})
        go(page, f"#tab={tab}")
        assert page.execute_script("return document.documentElement.scrollWidth") <= 360
    page.execute_cdp_cmd("Emulation.clearDeviceMetricsOverride", {})


def test_nets_are_as_even_as_theory_has_them(page):
    """The first two coordinates of Sobol are a (0, 2)-sequence, scrambled or not; pseudo-random points are no net."""
    for scrambling in ("none", "shift", "linear"):
        for m in (0, 5, 10):
            go(page, f"#tab=draw&draw=sobol,mt19937,5,0,1,{m},3,{scrambling},2,smooth")
            assert "t = 0;" in by_id(page, "about").text
            assert "exactly 2^t = 1 of the points." in by_id(page, "boxes").text
    Select(by_id(page, "draw-generator")).select_by_value("mt19937")
    assert "t =" not in by_id(page, "about").text
    assert not by_id(page, "shape").is_enabled()
    # 2^14 points: the error of a mean is about its deviation by 128 (0.29 for this product); a net does far better.
    go(page, "#tab=draw&draw=sobol,mt19937,2,0,1,8,1,linear,4,smooth")
    net, random = map(float, re.search(r"errors of (\S+) and (\S+) with", by_id(page, "error-text").text).groups())
    assert net < 1e-5 and 0.0005 < random < 0.01
