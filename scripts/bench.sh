#!/bin/sh
# bench.sh [OPTION...]: sets up, builds and runs the benchmark. It compares each kernel and whole analyses with their
# plain forms, singular values also with LAPACK and Eigen, and measures the search for events. The options are those of
# Google Benchmark (--benchmark_filter=median).
set -eu
cd "$(dirname "$0")/.."
scripts/setup.sh libeigen3-dev libopenblas-serial-dev
cmake --preset release >/dev/null
cmake --build --preset release --target dipx_bench >/dev/null
build/release/bench/dipx_bench "$@"
