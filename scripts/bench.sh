#!/bin/sh
# bench.sh [OPTION...]: sets up, builds and runs the benchmark: each kernel and whole analyses beside their plain forms,
# singular values beside LAPACK and Eigen too. Takes Google Benchmark's options (--benchmark_filter=median).
set -eu
cd "$(dirname "$0")/.."
scripts/setup.sh libeigen3-dev libopenblas-serial-dev
cmake --preset release >/dev/null
cmake --build --preset release --target dipx_bench >/dev/null
build/release/bench/dipx_bench "$@"
