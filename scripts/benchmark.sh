#!/usr/bin/env bash
# Measures whole requests, and compares them with a static C program that does the minimum, with one that does
# everything that another process can see of the agent, and with rm, find, ls, df, sed and augtool. Installs missing
# packages, builds the release and the package, and prints tables of ratios, counts and growth. build/benchmark has the
# figures (figures.json) and the plots. Takes half an hour.
#
#   --update-page   also writes the tables to docs/performance.md, the plots to docs/pictures, and the ratios that
#                   README.md quotes
#   --no-package    leaves the package out
#
# Other options are passed to request_benchmark, such as --rounds N, and --only TEXT for some of the comparisons; --help
# lists them.
set -euo pipefail
CDPATH= cd "$(dirname "$0")/.."

folder=build/benchmark
pictures=$folder
page=()
with_package=yes
options=()
for option in "$@"; do
    case $option in
        --update-page)
            pictures=docs/pictures
            page=(docs/performance.md README.md)
            ;;
        --no-package) with_package=no ;;
        *) options+=("$option") ;;
    esac
done

scripts/install_dependencies.sh build benchmark
cmake --preset release >/dev/null
cmake --build --preset release --parallel "$(nproc)" --target request_benchmark >/dev/null
if [[ $with_package == yes ]]; then
    scripts/build_package.sh "$folder/package" >/dev/null
    dpkg-deb --extract "$folder"/package/zmlogadmagent_*.deb "$folder/package/root"
    options+=(--package-agent "$PWD/$folder/package/root/usr/kumel/zembrath/bin/zmlogadmagent")
fi
mkdir -p "$folder"
build/release/benchmarks/request_benchmark --json "$PWD/$folder/figures.json" "${options[@]}" >"$folder/progress.txt"
exec python3 benchmarks/report.py "$folder/figures.json" "$pictures" "${page[@]}"
