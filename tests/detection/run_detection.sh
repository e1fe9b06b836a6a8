#!/usr/bin/env bash
# Runs the detection program on emulated processors. Levels and solver classes are those of the published feature sets:
# core2duo has SSSE3, Penryn SSE4.1, Nehalem SSE4.2, SandyBridge AVX, Haswell AVX2, FMA, BMI, LZCNT and AES.
# usage: run_detection.sh PROGRAM; 77 without the emulator.
set -euo pipefail
program=$1
command -v qemu-x86_64 >/dev/null || { echo "no qemu-x86_64"; exit 77; }
failures=0

# check MODEL LEVEL CLASS FEATURE NOT_FEATURE [VARIABLE=VALUE...]
check() {
  local model=$1 level=$2 class=$3 feature=$4 absent=$5
  shift 5
  local got
  got=$(env "$@" qemu-x86_64 -cpu "$model" "$program" 2>/dev/null) || got="(exit code $?)"
  if [[ $got == "$level $class "* && "$got " == *" $feature "* && "$got " != *" $absent "* ]]; then
    echo "ok: $model $*: level $level, solver class $class"
  else
    echo "WRONG: $model $*: '$got' instead of level $level, solver class $class, $feature and no $absent"
    failures=$((failures + 1))
  fi
}

own=vendor=GenuineVetra
check "qemu64,$own" 4 3 SSE3 SSSE3
check "qemu64,-pni,$own" 3 2 SSE2 SSE3
check "core2duo,$own" 5 4 SSSE3 SSE4.1
check "Penryn,$own" 6 4 SSE4.1 SSE4.2
check "Nehalem,$own" 7 5 SSE4.2 AVX
check "SandyBridge,$own" 8 6 AVX AVX2
check "Haswell,$own" 9 7 AVX2 AVX-512F
check "Haswell,-fma,$own" 8 6 AVX2 FMA
check "Haswell,-xsave,$own" 7 5 AES AVX
check "Haswell,$own" 4 3 AVX2 AVX-512F RVN_CBWR=SSE3
check "Haswell,$own" 1 2 AVX2 AVX-512F RVN_CBWR=BRANCH=COMPATIBLE
check "Haswell,$own" 5 6 AVX2 AVX-512F RVN_KERNEL_LEVEL_FORCE=5 RVN_DEBUG_CPU_TYPE=6
check "Haswell,vendor=GenuineOther" 2 5 AVX2 AVX-512F
check "Haswell,vendor=GenuineOther" 9 7 AVX2 AVX-512F RVN_ANY_VENDOR=1

# Without SSE2 the process ends with code 1 and says why.
code=0
got=$(qemu-x86_64 -cpu "qemu64,-sse2,-pni,$own" "$program" 2>/dev/null) || code=$?
if [[ $code == 1 && $got == *"Streaming SIMD 2 Extensions"* ]]; then
  echo "ok: no SSE2: refused"
else
  echo "WRONG: no SSE2: exit code $code, '$got'"
  failures=$((failures + 1))
fi
[ "$failures" = 0 ]
