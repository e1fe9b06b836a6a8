"""Resamples a file of some gigabytes, made on the fly, and checks values and memory. usage: big_file.py PROGRAM FOLDER GIGABYTES"""

import math
import os
import subprocess
import sys

MOST_MEMORY = 100 << 20
STEP = 2.0**-10


def main(program, folder, gigabytes):
    os.makedirs(folder, exist_ok=True)
    source = os.path.join(folder, "big.csv")
    result = os.path.join(folder, "result.csv")
    rows = 0
    try:
        with open(source, "w") as file:
            file.write("t,a,b\n")
            while file.tell() < gigabytes * 1e9:
                file.write("".join(f"{i * STEP},{math.sin(i * STEP)},{math.cos(i * STEP)}\n" for i in range(rows, rows + 100000)))
                rows += 100000
        process = subprocess.Popen([program, "resample", source, "--step", "0.25", "--from", "0.125", "-o", result])
        _, status, usage = os.wait4(process.pid, 0)
        memory = usage.ru_maxrss * 1024
        print(f"{rows} rows, {usage.ru_utime + usage.ru_stime:.1f} s of processor, {memory >> 20} MB of memory")
        assert status == 0 and memory < MOST_MEMORY
        count = 0
        with open(result) as file:
            next(file)
            for line in file:
                t, a, b = map(float, line.split(","))
                assert t == 0.125 + 0.25 * count
                # A cubic spline errs by 5/384 h^4, and h^2/8 beside free ends.
                assert abs(a - math.sin(t)) < 1e-12 and abs(b - math.cos(t)) < 1e-12, line
                count += 1
        assert count == int(((rows - 1) * STEP - 0.125) / 0.25) + 1
    finally:
        for file in (source, result):
            if os.path.exists(file):
                os.remove(file)
    print("every value is right")


main(sys.argv[1], sys.argv[2], float(sys.argv[3]))
