#!/usr/bin/env bash
# Measures whole requests beside a static C program that does the least, one that does all that can be seen, and rm,
# find, ls, df, sed and augtool: builds the release, and the package for its agent, installing what is missing, and
# prints tables of ratios, counts and growth. build/benchmark/figures.json has the figures, and the plots are beside it.
# Takes half an hour.
#
#   --update-page   also puts the tables into docs/performance.md and the plots into docs/pictures
#   --no-package    leaves the package out
#
# Other options are request_benchmark's own, among them --rounds N, and --only TEXT for some of the comparisons; --help
# lists them.
set -euo pipefail
cd "$(dirname "$0")/.."

folder=build/benchmark
pictures=$folder
page=()
with_package=yes
options=()
for option in "$@"; do
    case $option in
        --update-page)
            pictures=docs/pictures
            page=(docs/performance.md)
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
build/release/benchmarks/request_benchmark --json "$PWD/$folder/figures.json" "${options[@]}" >"$folder/progress.txt"
exec python3 benchmarks/report.py "$folder/figures.json" "$pictures" "${page[@]}"
