"""What is read: texts against Python's csv module, arrays against NumPy, and what is refused with which message."""

import csv
import io
import itertools
import struct

import numpy
import pytest

random = numpy.random.default_rng(11)


def columns(ravenfit, content, *options):
    """The numbers of all columns: a broken line's values at its own breakpoints, which are exact but for the last one's."""
    ravenfit.write("in.csv", content)
    text = ravenfit("resample", "in.csv", "--like", "in.csv", "--kind", "linear", *options)
    return [[float(field) for field in row] for row in csv.reader(io.StringIO(text.decode())) if row]


def by_python(content, separator=","):
    rows = list(csv.reader(io.StringIO(content, newline=""), delimiter=separator))
    return [[float(field) for field in row] for row in rows if row and not row[0].lstrip(" ").startswith("#")]


def hostile_field(value):
    number = repr(float(value))
    forms = [number, f'"{number}"', f" {number} ", f'" {number}"', f"+{number}" if value >= 0 else number,
             f'"{number[:2]}"{number[2:]}', f"{value:.17e}", f"{value:.17E}"]
    return forms[random.integers(len(forms))]


@pytest.mark.parametrize("seed", range(12))
def test_hostile_text(ravenfit, seed):
    width, rows = random.integers(2, 9), random.integers(2, 60)
    end = ["\n", "\r\n", "\r"][seed % 3]
    lines = []
    for i in range(rows):
        while random.random() < 0.3:
            lines.append(["", "# a, \"comment", "   "][random.integers(3 if seed % 2 else 2)])
        values = [i, *random.normal(size=width - 1) * 10.0 ** random.integers(-300, 300, width - 1)]
        lines.append(",".join(map(hostile_field, values)))
    content = end.join(lines) + (end if seed % 2 else "")
    wanted = by_python("\n".join(line for line in lines if line.strip()))
    assert columns(ravenfit, content, "--no-heading")[:-1] == wanted[:-1]


def test_headings_in_quotes(ravenfit):
    names = ["t", 'say "x", y', "two\nlines", "tab\there", ""]
    text = io.StringIO()
    writer = csv.writer(text, lineterminator="\r\n")
    writer.writerows([names, *numpy.arange(20).reshape(4, 5).tolist()])
    ravenfit.write("in.csv", text.getvalue())
    got = ravenfit("resample", "in.csv", "-n", 2, "--y", '2,"two\nlines",4,5'.replace('"', ""), "--kind", "linear")
    rows = list(csv.reader(io.StringIO(got.decode(), newline="")))
    assert rows[0] == names and rows[1:] == [["0", "1", "2", "3", "4"], ["15", "16", "17", "18", "19"]]
    ravenfit.write("in.csv", text.getvalue().replace("19\r\n", "x\r\n"))
    ravenfit("resample", "in.csv", "-n", 2, code=1)
    assert ravenfit.errors == 'ravenfit: in.csv:6: column "": "x" is not a number\n'  # the heading takes two lines


def test_separators(ravenfit):
    wanted = [[0, 1.5], [1, 2.5]]  # lines of slope 1
    for text in ("0\t1.5\n1\t2.5\n", "0;1.5\n1;2.5\n", " 0   1.5 \n1\t2.5\n", "0,1.5\n1,2.5", "\ufeff0,1.5\n1,2.5\n"):
        assert columns(ravenfit, text) == wanted, text
    assert columns(ravenfit, "0|1.5\n1|2.5\n", "--separator", "|") == wanted
    assert columns(ravenfit, "%c\n0,1.5\n1,2.5\n", "--comment", "%") == wanted
    assert columns(ravenfit, "7,8\n0,1.5\n1,2.5\n", "--heading")[1:] == wanted
    ravenfit.write("in.csv", "0\t1.5\n1\t2.5\n")
    ravenfit("resample", "in.csv", "-n", 2, "-k", "linear", "-o", "out.tsv")
    assert (ravenfit.folder / "out.tsv").read_text() == "0\t1.5\n1\t2.5\n"


def test_numbers_as_python_writes_and_reads_them(ravenfit):
    n = 3000
    random_bits = random.integers(0, 2**64, 2 * n, dtype=numpy.uint64).view(float)
    values = numpy.c_[random_bits.reshape(n, 2), 2.0 ** random.integers(-1074, 1020, n), random.integers(-(10**6), 10**6, n) / 1000,
                      random.integers(0, 2**63, n) >> random.integers(0, 63, n), random.normal(size=n)]
    values[~((numpy.abs(values) < 8e307) & (values != 0))] = 5e-324  # differences must not overflow, and -0 is lost in sums
    numpy.save(ravenfit.folder / "in.npy", numpy.c_[numpy.arange(n), values])
    lines = ravenfit("resample", "in.npy", "--like", "in.npy", "--kind", "linear").decode().splitlines()
    assert lines[:-1] == [",".join(repr(float(v)).removesuffix(".0") for v in [i, *row]) for i, row in enumerate(values[:-1])]

    def halfway(digits):  # between two doubles
        odd = int(random.integers(2**53, 2**54)) | 1
        return f"{odd >> digits}.{(odd & (1 << digits) - 1) * 5**digits * 100 // 10**digits:02d}" if digits else str(odd)

    texts = [[str(i), f"{random.integers(2**63)}e{random.integers(-340, 280)}", f"{random.integers(2**63)}e{random.integers(-40, 20)}",
              halfway(i % 3), f"{values[i, 0]:.{i % 20}e}", f"-0.{'0' * (i % 30)}{random.integers(2**63)}", f"{values[i, 5]:.25f}"]
             for i in range(n)]
    ravenfit.write("in.csv", "".join(",".join(row) + "\n" for row in texts))
    ravenfit("resample", "in.csv", "--like", "in.csv", "--kind", "linear", "-o", "out.npy")
    assert (numpy.load(ravenfit.folder / "out.npy")[:-1] == [[float(t) for t in row] for row in texts[:-1]]).all()


@pytest.mark.parametrize("end", ["\n", "\r\n", "\r"])
def test_tables_of_many_blocks(ravenfit, end):
    """Threads parse them side by side, unless quotes may hide line ends; numbers, and lines of messages, do not show it."""
    lines = [f"{i},{i % 7}.{i:06d},c" if i % 1000 else "# comment" for i in range(120000)]
    wanted = numpy.array([[i, float(f"{i % 7}.{i:06d}")] for i in range(120000) if i % 1000])
    options = ["--like", "in.csv", "--kind", "linear", "--y", "2", "--no-heading", "-o", "out.npy"]

    def write(changes):
        changed = [changes.get(k, line) for k, line in enumerate(lines)]
        ravenfit.write("in.csv", end.join(changed) + end)

    for more, hidden in (({}, 0), ({40001: f'40001,3.040001,"c{end}{end}"'}, 2)):
        write(more)
        ravenfit("resample", "in.csv", *options)
        assert (numpy.load(ravenfit.folder / "out.npy")[:-1] == wanted[:-1]).all()
        for bad, line, message in (("x,1,c", 60502, 'column "1": "x" is not a number'),
                                   ("1,2", 119502, "2 fields, but line 2 has 3"),
                                   ("1,2,c", 119502, f'column "1": 1 does not exceed 119500 in line {119501 + hidden}; --sort sorts the rows')):
            write({**more, line - 1: bad})
            ravenfit("resample", "in.csv", *options, code=1)
            assert ravenfit.errors == f"ravenfit: in.csv:{line + hidden}: {message}\n"


def test_thousands_of_columns_and_long_lines(ravenfit):
    values = random.normal(size=(40, 5000))
    values[:, 0] = range(40)
    text = io.StringIO()
    csv.writer(text).writerows([[f"c{k}" for k in range(5000)], *values.tolist()])
    ravenfit.write("in.csv", "#" + "x" * 3_000_000 + "\n" + text.getvalue())
    got = ravenfit.table("resample", "in.csv", "--like", "in.csv", "--kind", "linear")
    assert (got[:-1] == values[:-1]).all()
    got = ravenfit.table("resample", "in.csv", "--like", "in.csv", "--kind", "linear", "--y", "c4999,17")
    assert (got[:-1] == values[:-1, [0, 4999, 16]]).all()


def test_numbers_come_back_the_same(ravenfit):
    values = random.integers(-(2**53), 2**53, 20000) * 2.0 ** random.integers(-1070, 970, 20000)
    values = numpy.r_[values, 5e-324, 2.2250738585072014e-308, 0.1, 1e23, -0.0, 0]
    numpy.save(ravenfit.folder / "in.npy", numpy.c_[numpy.arange(len(values)), values])
    text = ravenfit("resample", "in.npy", "--like", "in.npy", "-k", "linear", "-y", 2)
    fields = [row.split(",")[1] for row in text.decode().split()]
    assert [float(v) for v in fields[:-1]] == values[:-1].tolist()
    assert all(len(v) <= len(repr(float(v))) for v in fields)  # which Python makes the shortest


def test_arrays(ravenfit):
    table = numpy.c_[numpy.arange(9.0), random.integers(0, 100, (9, 3))]
    for kind, order, big in itertools.product("f8 f4 i8 i4 i2 i1 u8 u4 u2 u1".split(), "CF", "<>"):
        array = numpy.asarray(table, dtype=big + kind, order=order)
        numpy.save(ravenfit.folder / "in.npy", array)
        ravenfit("resample", "in.npy", "--like", "in.npy", "-k", "linear", "-o", "out.npy")
        assert (numpy.load(ravenfit.folder / "out.npy") == table).all(), (kind, order, big)
    with open(ravenfit.folder / "in.npy", "wb") as file:
        numpy.lib.format.write_array(file, table, version=(2, 0))
    content = (ravenfit.folder / "in.npy").read_bytes()
    piped = ravenfit("resample", "-", "-n", 9, "-k", "linear", "--format", "npy", stdin=content)
    assert (numpy.load(io.BytesIO(piped)) == table).all()


def npy(header, data=b""):
    header = header.encode() + b"\n"
    return b"\x93NUMPY\x01\x00" + struct.pack("<H", len(header)) + header + data


HEADER = "{'descr': '%s', 'fortran_order': %s, 'shape': %s, }"
GOOD = "t,a\n0,0\n1,1\n2,4\n3,9\n4,16\n"
EVAL = ["eval", "in.csv", "--sites", "1"]
RESAMPLE = ["resample", "in.csv"]

# Content, exit code, message, and arguments unless they are EVAL.
REFUSED = [
    ("", 1, "in.csv: holds no data"),
    ("\n\n# nothing\n", 1, "in.csv: holds no data"),
    ("t,a\n", 1, "in.csv: holds no data"),
    ("t\n1\n2\n", 2, "in.csv: there is no column but that of x"),
    ("t,a\n0,1\n1,\n", 1, 'in.csv:3: column "a": the field is empty'),
    ("t,a\n0,1\n1,  \n", 1, 'in.csv:3: column "a": the field is empty'),
    ('t,a\n0,1\n1,""\n', 1, 'in.csv:3: column "a": the field is empty'),
    ("t,a\n,1\n1,2\n", 1, 'in.csv:2: column "t": the field is empty'),
    ("t,a\n0,1\n1,abc\n", 1, 'in.csv:3: column "a": "abc" is not a number'),
    ("t,a\r\n0,1\r\n1,abc\r\n", 1, 'in.csv:3: column "a": "abc" is not a number'),
    ("t,a\r0,1\r1,abc\r", 1, 'in.csv:3: column "a": "abc" is not a number'),
    ("t,a\n\n# c\n0,1\n\n1,abc\n", 1, 'in.csv:6: column "a": "abc" is not a number'),
    ('t,a\n"0\n",1\n', 1, 'in.csv:2: column "t": "0?" is not a number'),
    ("t,a\n0,1\n1,abc", 1, 'in.csv:3: column "a": "abc" is not a number'),
    ("t,a\n0,1\n1,1.2.3\n", 1, 'in.csv:3: column "a": "1.2.3" is not a number'),
    ("t,a\n0,1\n1,1e\n", 1, 'in.csv:3: column "a": "1e" is not a number'),
    ("t,a\n0,1\n1,0x10\n", 1, 'in.csv:3: column "a": "0x10" is not a number'),
    ("t,a\n0,1\n1,1_000\n", 1, 'in.csv:3: column "a": "1_000" is not a number'),
    ("t,a\n0,1\n1,1 2\n", 1, 'in.csv:3: column "a": "1 2" is not a number'),
    ("t,a\n0,1\n1,--1\n", 1, 'in.csv:3: column "a": "--1" is not a number'),
    ("t,a\n0,1\n1,+-1\n", 1, 'in.csv:3: column "a": "+-1" is not a number'),
    ("t,a\n0,1\n1,+\n", 1, 'in.csv:3: column "a": "+" is not a number'),
    ("t,a\n0,1\n1,1d5\n", 1, 'in.csv:3: column "a": "1d5" is not a number'),
    ("t,a\n0,1\n1,1\0\n", 1, 'in.csv:3: column "a": "1?" is not a number'),
    ('t,a\n0,1\n1,"1,5"\n', 1, 'in.csv:3: column "a": "1,5" is not a number; decimals are written with a point'),
    ("t,a\n1,1\n", 1, "in.csv: too few rows for kind cubic: 1 of 3"),
    ("t,a\n1,1\n2,2\n3,3\n", 1, "in.csv: too few rows for kind cubic: 3 of 4", EVAL + ["--ends", "not-a-knot"]),
    (GOOD[:-5], 1, "in.csv: too few rows for kind akima: 4 of 5", EVAL + ["--kind", "akima"]),
    ("t,a\n1,1\n2,2\n", 1, "in.csv: too few rows for kind cubic: 2 of 3", ["fit", "in.csv", "-o", "x"]),
    ("t,a\n1,1\n", 1, "in.csv: too few rows for kind linear: 1 of 2", ["smooth", "in.csv", "--lambda", "1"]),
    ("t;a\n0;1\n1;1,5\n", 1, 'in.csv:3: column "a": "1,5" is not a number; decimals are written with a point'),
    ("t,a\n0,1\n1," + "x" * 90 + "\n", 1, f'in.csv:3: column "a": "{"x" * 40}..." is not a number'),
    ("t,a\n0,1\n1,nan\n", 1, 'in.csv:3: column "a": "nan" is not finite'),
    ("t,a\n0,1\n1,-inf\n", 1, 'in.csv:3: column "a": "-inf" is not finite'),
    ("t,a\n0,1\n1,1e999\n", 1, 'in.csv:3: column "a": "1e999" is not finite'),
    ("t,a\n0,1\ninf,1\n", 1, 'in.csv:3: column "t": "inf" is not finite'),
    ("t,a\n0,1\n1\n", 1, "in.csv:3: 1 field, but line 1 has 2"),
    ("t,a\n0,1\n1,2,3\n", 1, "in.csv:3: more than 2 fields, but line 1 has 2"),
    ("t,a\n0,1\n1,2,\n", 1, "in.csv:3: more than 2 fields, but line 1 has 2"),
    ("#\n\nt,a,b\n0,1,2\n1,2\n", 1, "in.csv:5: 2 fields, but line 3 has 3"),
    ("t a\n0 1\n1\n", 1, "in.csv:3: 1 field, but line 1 has 2"),
    ("t a\n0 1\n1 2 3\n", 1, "in.csv:3: more than 2 fields, but line 1 has 2"),
    ('t,a\n0,1\n1,"2\n', 1, "in.csv:3: a quote in this record is not closed"),
    ('t,"a\n0,1\n', 1, "in.csv:1: a quote in this record is not closed"),
    ("t,a\n0,1\n0,2\n", 1, 'in.csv:3: column "t": 0 does not exceed 0 in line 2; --mean-duplicates takes the mean of such rows'),
    ("time,a\n3.6,1\n3.5,2\n", 1, 'in.csv:3: column "time": 3.5 does not exceed 3.6 in line 2; --sort sorts the rows'),
    ("1,1\n0,2\n", 1, 'in.csv:2: column "1": 0 does not exceed 1 in line 1; --sort sorts the rows'),
    ("t,a\n1,1\n0,2\n1,3\n", 1, 'in.csv: column "t": 1 occurs in several rows; --mean-duplicates takes their mean', EVAL + ["--sort"]),
    ("t,a\n1,1\n0,2\n", 1, 'in.csv:3: column "t": 0 does not exceed 1 in line 2; --sort sorts the rows', EVAL + ["--mean-duplicates"]),
    (b"\x1f\x8b\x08\0\0\0\0\0", 1, "in.csv: is compressed; unpack it, for example by `zcat FILE | ravenfit ... -`"),
    (b"PK\x03\x04rest", 1, "in.csv: is a zip archive, as spreadsheets and .npz files are; export CSV from it"),
    ("t,a\n0,1\n".encode("utf-16"), 1, "in.csv: is UTF-16 text; convert it, for example by `iconv -f UTF-16 -t UTF-8 FILE`"),
    ("t,t\n0,1\n1,2\n", 2, 'in.csv: several columns are called "t"; use the number of one', EVAL + ["--x", "t"]),
    (GOOD, 2, 'in.csv: there is no column "b" among 2: t, a', EVAL + ["--y", "b"]),
    (GOOD, 2, 'in.csv: there is no column "0" among 2: t, a', EVAL + ["--x", "0"]),
    (GOOD, 2, 'in.csv: there is no column "3" among 2: t, a', EVAL + ["--x", "3"]),
    (GOOD, 2, 'in.csv: column "a" is used twice', EVAL + ["--y", "a,2"]),
    (GOOD, 2, 'in.csv: column "t" is used twice', EVAL + ["--y", "t"]),
    (GOOD, 1, 'in.csv:1: column "1": "t" is not a number', EVAL + ["--no-heading"]),
    (GOOD, 1, "site 9 is outside the data, which --outside refuse forbids", EVAL + ["--sites", "9", "--outside", "refuse"]),
    (GOOD, 1, "limit 9 is outside the data, which --outside refuse forbids",
     ["integrate", "in.csv", "--to", "9", "--outside", "refuse"]),
    (GOOD, 2, "--separator takes comma, semicolon, tab, space or one other character, not \"ab\"", EVAL + ["--separator", "ab"]),
    (GOOD, 2, "--separator takes comma, semicolon, tab, space or one other character, not \"5\"", EVAL + ["--separator", "5"]),
    (GOOD, 2, "choose the sites by --step, --n, --at or --like", RESAMPLE),
    (GOOD, 2, "choose the sites by --at or --sites", ["eval", "in.csv"]),
    (GOOD, 2, "choose the sites in one way: by --step, --n, --at, --like or --sites", RESAMPLE + ["--step", "1", "-n", "3"]),
    (GOOD, 2, "--from and --to go with --step or --n", RESAMPLE + ["--at", "in.csv", "--from", "1"]),
    (GOOD, 2, "--from 3 is above --to 1", RESAMPLE + ["--step", "1", "--from", "3", "--to", "1"]),
    (GOOD, 1, "there are no sites from 5 to 4", RESAMPLE + ["--step", "1", "--from", "5"]),
    (GOOD, 2, "--step 0: a step must be above 0", RESAMPLE + ["--step", "0"]),
    (GOOD, 2, "--step -1: a step must be above 0", RESAMPLE + ["--step", "-1"]),
    (GOOD, 2, "--step 1e-300 is too small for sites from 0 to 4", RESAMPLE + ["--step", "1e-300"]),
    (GOOD, 2, "--step must be a finite number; see `ravenfit resample --help`", RESAMPLE + ["--step", "nan"]),
    (GOOD, 2, "\"1.5\" is not a count; write 1000, 1e6, 64k, 1M or 2^20; see `ravenfit resample --help`", RESAMPLE + ["-n", "1.5"]),
    (GOOD, 2, "\"1Q\" is not a count; write 1000, 1e6, 64k, 1M or 2^20; see `ravenfit resample --help`", RESAMPLE + ["-n", "1Q"]),
    (GOOD, 2, "\"-3\" is not a count; write 1000, 1e6, 64k, 1M or 2^20; see `ravenfit resample --help`", RESAMPLE + ["-n", "-3"]),
    (GOOD, 1, "none.csv: No such file or directory", ["eval", "none.csv", "--sites", "1"]),
    (GOOD, 1, "none.csv: No such file or directory", RESAMPLE + ["--at", "none.csv"]),
    (GOOD, 1, ".: Is a directory", ["eval", ".", "--sites", "1"]),
    (GOOD, 1, "none/out.csv: No such file or directory", EVAL + ["-o", "none/out.csv"]),
    (GOOD, 2, '"sloppy" is not an end; take own, free, not-a-knot, periodic, slope=NUMBER, curvature=NUMBER', EVAL + ["--left", "sloppy"]),
    (GOOD, 2, '"slope=": a number must follow "slope="', EVAL + ["--left", "slope="]),
    (GOOD, 2, '--outside takes proceed, clamp, wrap, nan, refuse or a number, not "far"', EVAL + ["--outside", "far"]),
    (GOOD, 2, "--lambda -1: it must be 0 or more", ["smooth", "in.csv", "--lambda", "-1"]),
    (GOOD, 2, "kind hermite needs --slopes: the columns of the slopes", EVAL + ["--kind", "hermite"]),
    (GOOD, 2, "kind quadratic needs --midpoints: of each column the value halfway between the first two rows",
     ["plot", "in.csv", "--kinds", "cubic,quadratic"]),
    (GOOD, 2, "--curvatures goes with kind second-derivatives alone", EVAL + ["--curvatures", "a"]),
    (GOOD, 2, "--midpoints takes one for each column of values: 1, not 2", EVAL + ["--kind", "quadratic", "--midpoints", "1,2"]),
    (GOOD, 2, "--midpoints must be finite numbers; see `ravenfit eval --help`", EVAL + ["--kind", "quadratic", "--midpoints", "inf"]),
    (GOOD, 2, "kind quadratic has no ends to be chosen: --midpoints says it all",
     EVAL + ["--kind", "quadratic", "--midpoints", "1", "--left", "free"]),
    (GOOD, 2, "in.csv: no column is left for the values", EVAL + ["--kind", "hermite", "--slopes", "a"]),
    (GOOD, 2, 'in.csv: column "a" is used twice', EVAL + ["--kind", "hermite", "--y", "a", "--slopes", "a"]),
    ("t,a,m\n0,0,0\n1,1,0\n", 1, "in.csv: too few rows for kind hermite: 2 of 3",
     EVAL + ["--kind", "hermite", "--slopes", "m", "--left", "free"]),
    ("t,a,w\n0,1,1\n1,2,0\n2,1,1\n", 1, 'in.csv:3: column "w": 0 is no weight; weights must be above 0',
     ["smooth", "in.csv", "--weights", "3"]),
    (GOOD, 2, "-o takes a name that ends in .svg or .png, not \"a.gif\"", ["plot", "in.csv", "-o", "a.gif"]),
    (GOOD, 2, "--size must be WIDTHxHEIGHT, such as 800x500, not \"big\"", ["plot", "in.csv", "--size", "big"]),
    (GOOD, 2, 'there is no generator "dice"; there are sobol, niederreiter, mcg31, r250, mrg32k3a, mcg59, wichmann-hill, mt19937, '
     "mt2203, sfmt19937, rdrand", ["sample", "dice", "-n", "1"]),
    (GOOD, 2, '"mt2203:9999": there is no such member of the family', ["sample", "mt2203:9999", "-n", "1"]),
    (GOOD, 2, "--scramble goes with sobol alone", ["sample", "mcg31", "-n", "1", "--scramble", "1"]),
    (GOOD, 2, "--seed 4294967296: seeds must be below 2^32", ["sample", "mcg31", "-n", "1", "--seed", "2^32"]),
    (GOOD, 2, "that is more numbers than can be counted", ["sample", "mcg31", "-n", "9e18", "--dim", "9"]),
    (GOOD, 2, "sobol: 41 dimensions: there are 1 to 40", ["sample", "sobol", "-n", "1", "--dim", "41"]),
    (GOOD, 2, "mcg31: a = 2.000000 is not below b = 1.000000", ["sample", "mcg31", "-n", "1", "--low", "2"]),
    ("ravenfit curve 1\n", 1, "in.csv: the curve ends before its last number"),
    ("ravenfit curve 2\n", 1, "in.csv: the curve is of a later version; use a newer ravenfit"),
    (b"ravenfit curve 1\n" + b"\xff" * 48, 1, "in.csv: the curve is damaged"),
    ("ravenfit curve 1\n", 1, "in.csv: is a curve, not a table; `ravenfit eval` and `ravenfit integrate` take curves", ["check", "in.csv"]),
    (b"\x93NUMPY", 1, "in.csv: the header of the array is cut off"),
    (b"\x93NUMPY\x09\x00", 1, "in.csv: version 9 of the .npy format is not known"),
    (b"\x93NUMPY\x01\x00\xff\xff{", 1, "in.csv: the header of the array is cut off"),
    (npy("{}"), 1, 'in.csv: holds no real numbers of a known type, but ""; convert it by astype(float)'),
    (npy(HEADER % ("|O", "False", "(3, 2)")), 1, 'in.csv: holds no real numbers of a known type, but "|O"; convert it by astype(float)'),
    (npy(HEADER % ("<c16", "False", "(3, 2)")), 1, 'in.csv: holds no real numbers of a known type, but "<c16"; convert it by astype(float)'),
    (npy(HEADER % ("<f8", "Maybe", "(3, 2)")), 1, "in.csv: the header of the array is damaged"),
    (npy(HEADER % ("<f8", "False", "(3, -2)")), 1, "in.csv: the header of the array is damaged"),
    (npy(HEADER % ("<f8", "False", "(3, 2, 2)")), 1, "in.csv: has 3 dimensions; there must be one, or two: rows and columns"),
    (npy(HEADER % ("<f8", "False", "()")), 1, "in.csv: has 0 dimensions; there must be one, or two: rows and columns"),
    (npy(HEADER % ("<f8", "False", "(0, 2)")), 1, "in.csv: holds no data"),
    (npy(HEADER % ("<f8", "False", "(3, 2)"), bytes(40)), 1, "in.csv: the array ends before its last number"),
    (npy(HEADER % ("<f8", "True", "(9007199254740993, 1024)")), 1, "in.csv: the shape of the array is damaged"),
    (npy(HEADER % ("<f8", "False", "(2, 2)"), struct.pack("<4d", 0, 1, 2, numpy.nan)), 1,
     'in.csv: row 1: column "2": nan is not finite'),
    (npy(HEADER % ("<f8", "False", "(2, 2)"), struct.pack("<4d", 2, 1, 2, 3)), 1,
     'in.csv: row 1: column "1": 2 does not exceed 2 in row 0; --mean-duplicates takes the mean of such rows'),
]


def test_refused(ravenfit):
    for content, code, message, *arguments in REFUSED:
        ravenfit.write("in.csv", content)
        printed = ravenfit(*(arguments[0] if arguments else EVAL), "-q", code=code)
        assert ravenfit.errors == f"ravenfit: {message}\n", content[:80]
        assert printed == b"", message


def test_damaged_curves(ravenfit):
    ravenfit.write("in.csv", GOOD)
    ravenfit("fit", "in.csv", "-o", "curve.rfit")
    whole = (ravenfit.folder / "curve.rfit").read_bytes()
    for i in random.permutation(len(whole))[:60]:
        for damaged in (whole[:i], whole[:i] + bytes([whole[i] ^ 0x41]) + whole[i + 1:]):
            if not damaged.startswith(b"ravenfit curve "):
                continue
            ravenfit.write("bad.rfit", damaged)
            ravenfit("eval", "bad.rfit", "--sites", "1", code=1)
            assert "damaged" in ravenfit.errors or "ends before" in ravenfit.errors or "later version" in ravenfit.errors
