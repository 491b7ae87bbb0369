#!/usr/bin/env python3
"""Makes tables and plots of what request_benchmark has measured.

report.py FIGURES FOLDER [PAGE README]

FIGURES is the file of request_benchmark's --json. The tables go to standard output, the plots into FOLDER. With a PAGE,
the tables also go between its lines "<!-- figures -->" and "<!-- end of figures -->", and the ratios that README quotes
are renewed.
"""
import json
import os
import platform
import re
import subprocess
import sys
import time

PROGRAMS = {'agent': 'zmlogadmagent', 'best': 'benchmarks/best', 'floor': 'benchmarks/floor'}
TOOLS = ['df', 'sh -c df', 'sed -i', 'augtool', 'ls -lU', 'rm -rf', 'find -delete', 'the tool itself']

# The bounds that the agent is measured against: a request, the program that it is compared with, and the largest ratio.
BOUNDS = [('GETDISKSPACE', 'floor', 1.10), ('VMCONF, 200 lines', 'floor', 1.28),
          ('thirteen categories, without KOB', 'floor', 1.65), ('fourteen categories', 'floor', 2.40),
          ('RUNZMSU, listing 10000 files', 'best', 1.12), ('CLEANUP, 10000 files', 'floor', 1.05),
          ('CLEANUP, 10000 files', 'rm -rf', 0.95), ('VMCONF, 1000000 lines', 'best', 1.01)]
# The figures that the README quotes: a request, a program, and what surrounds the figure.
QUOTES = [('GETDISKSPACE', 'df', r'(takes )\d+\.\d\d( of the time of `df`)'),
          ('VMCONF, 200 lines', 'sed -i', r'( )\d+\.\d\d( of `sed -i`)'),
          ('CLEANUP, 100 files', 'rm -rf', r'( )\d+\.\d\d( of `rm -rf`)')]


def read_command(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout.strip()


def describe_machine():
    with open('/proc/cpuinfo', encoding='utf-8') as cpus:
        models = [line.split(':', 1)[1].strip() for line in cpus if line.startswith('model name')]
    libc = ' '.join(platform.libc_ver())
    return (f'{time.strftime("%Y-%m-%d %H:%M %Z")}, {len(models)} processors "{models[0]}", {platform.system()} '
            f'{platform.release()}, {libc}, {read_command("g++", "--version").splitlines()[0]}')


def time_text(seconds):
    return f'{seconds * 1e6:.0f} us' if seconds < 0.01 else f'{seconds * 1e3:.0f} ms'


def ratio_text(contender):
    """The median, and where it is not sure to a tenth, what holds the true one with a confidence of 95 %."""
    median, low, high = (contender['agent_ratio'][key] for key in ('median', 'low', 'high'))
    if high == low:
        return f'{median:.2f} (one round)'
    return f'{median:.2f}' if high - low <= 0.1 * median else f'{median:.2f} ({low:.2f} to {high:.2f})'


def row(cells):
    return '| ' + ' | '.join(cells) + ' |'


def table(heading, rows):
    return '\n'.join([row(heading), row(['---'] * len(heading)), *map(row, rows)])


class Figures:
    def __init__(self, comparisons):
        self.comparisons = comparisons

    @staticmethod
    def contenders(comparison):
        return {contender['name']: contender for contender in comparison['contenders']}

    def ratios(self):
        rows = []
        for comparison in self.comparisons:
            contenders = self.contenders(comparison)
            cells = [ratio_text(contenders[name]) if name in contenders else ''
                     for name in ('floor', 'floor + file', 'best', 'package')]
            tools = ', '.join(f'{ratio_text(contenders[name])} of {name}'
                              for name in ['empty program', *TOOLS] if name in contenders)
            rows.append([comparison['request'], time_text(contenders['agent']['seconds']), *cells, tools])
        return table(['request', 'agent takes', '/ floor', '/ floor + file', '/ best', "/ package's agent",
                      'beside others'], rows)

    def counts(self):
        rows = []
        for comparison in self.comparisons:
            contenders = self.contenders(comparison)
            if 'system_calls' not in contenders['agent'] or 'best' not in contenders:
                continue
            names = [name for name in ('agent', 'package', 'best', 'floor') if name in contenders]
            rows.append([comparison['request'], *(', '.join(f'{contenders[name][key]} ({name})' for name in names)
                                                  for key in ('system_calls', 'page_faults', 'peak_kib'))])
        return table(['request', 'system calls', 'page faults', 'KiB at most'], rows)

    def ratio(self, request, name):
        """The median of agent / contender, or None where they were not measured."""
        for comparison in self.comparisons:
            contenders = self.contenders(comparison)
            if comparison['request'] == request and name in contenders:
                return contenders[name]['agent_ratio']['median']
        return None

    def bounds(self):
        rows = []
        for request, name, bound in BOUNDS:
            ratio, beside_best = self.ratio(request, name), self.ratio(request, 'best')
            if ratio is not None and beside_best is not None:
                rows.append([request, name, f'{bound:.2f}', f'{ratio:.2f}', f'{ratio / beside_best:.2f}',
                             'yes' if round(ratio, 2) <= bound else 'no'])
        return table(['request', 'compared with', 'bound', 'agent / it', 'best / it', 'kept'], rows)

    def growth(self, unit, names):
        """Yields for each program its sizes and its seconds a line or file."""
        for name in names:
            points = [(comparison['size'], self.contenders(comparison)[name]['seconds'] / comparison['size'])
                      for comparison in self.comparisons
                      if comparison.get('unit') == unit and name in self.contenders(comparison)]
            yield name, sorted(dict(reversed(points)).items())

    def growth_table(self, unit, names):
        series = dict(self.growth(unit, names))
        sizes = sorted({size for points in series.values() for size, _ in points})
        rows = []
        for size in sizes:
            values = [dict(points).get(size) for points in series.values()]
            rows.append([f'{size:,}', *('' if value is None else f'{value * 1e9:,.0f} ns' for value in values)])
        return table([unit, *(f'`{name}`, each' for name in series)], rows)


GROWTH = {'lines': ['agent', 'best', 'sed -i', 'augtool'],
          'files': ['agent', 'best', 'rm -rf', 'find -delete'],
          'packages': ['agent', 'best', 'ls -lU']}


def run_gnuplot(commands):
    subprocess.run(['gnuplot'], input=commands, text=True, check=True)


def plot_growth(figures, unit, title, file):
    series = [(name, points) for name, points in figures.growth(unit, GROWTH[unit]) if points]
    if not series:
        return
    data = ''.join(f'${name_of(i)} << EOD\n' + ''.join(f'{size} {each * 1e6}\n' for size, each in points) + 'EOD\n'
                   for i, (_, points) in enumerate(series))
    lines = ', '.join(f'${name_of(i)} with linespoints linewidth 2 title "{name}"'
                      for i, (name, _) in enumerate(series))
    run_gnuplot(f'{data}set terminal svg size 720,400 font "sans,12" background "white"\nset output "{file}"\n'
                f'set logscale xy\nset format x "%.0f"\nset grid\nset key outside right\nset title "{title}"\n'
                f'set xlabel "{unit}"\nset ylabel "microseconds each"\nplot {lines}\n')


def name_of(i):
    return f'series{i}'


def plot_ratios(figures, file):
    """One bar for each pair of a request and a tool; short is good, and 1 is a line."""
    bars = []
    for comparison in figures.comparisons:
        for name, contender in figures.contenders(comparison).items():
            if name in TOOLS:
                bars.append((f'{comparison["request"]} / {name}', contender['agent_ratio']['median']))
    if not bars:
        return
    data = '$bars << EOD\n' + ''.join(f'"{text}" {value}\n' for text, value in bars) + 'EOD\n'
    run_gnuplot(f'{data}set terminal svg size 900,{60 + 24 * len(bars)} font "sans,12" background "white"\n'
                f'set output "{file}"\nset title "The agent\'s time divided by a tool\'s (less is better)"\n'
                f'set logscale x\nset xrange [0.01:10]\nset yrange [{len(bars)}:-1]\nset grid xtics\nunset key\n'
                'set style fill solid 0.7\nset boxwidth 0.7\nset lmargin 48\n'
                f'set arrow from 1,-1 to 1,{len(bars)} nohead linewidth 2\n'
                'plot $bars using ($2/2):0:($2/2):(0.35):ytic(1) with boxxyerror linecolor "#3366aa"\n')


def sizes(build):
    rows = []
    for name, file in PROGRAMS.items():
        path = os.path.join(build, file)
        text = read_command('size', path).splitlines()[1].split()
        rows.append([name, f'{os.path.getsize(path):,}', *(f'{int(value):,}' for value in text[:3])])
    return table(['program', 'file', 'text', 'data', 'bss'], rows)


def read_text(path):
    with open(path, encoding='utf-8') as file:
        return file.read()


def write_text(path, text):
    with open(path, 'w', encoding='utf-8') as file:
        file.write(text)


def update_page(path, text):
    before, rest = read_text(path).split('<!-- figures -->\n')
    after = rest.split('<!-- end of figures -->\n')[1]
    write_text(path, f'{before}<!-- figures -->\n{text}\n<!-- end of figures -->\n{after}')


def update_quotes(path, figures):
    text = read_text(path)
    for request, name, pattern in QUOTES:
        ratio = figures.ratio(request, name)
        if ratio is None:
            continue
        text, count = re.subn(pattern, rf'\g<1>{ratio:.2f}\g<2>', text)
        if count != 1:
            sys.exit(f'report.py: {path} quotes the ratio of "{request}" to "{name}" {count} times instead of once')
    write_text(path, text)


def main():
    figures_file, folder = sys.argv[1:3]
    figures = Figures(json.loads(read_text(figures_file)))
    parts = [f'Measured {describe_machine()}.', figures.bounds(), figures.ratios(), figures.counts(),
             *(figures.growth_table(unit, names) for unit, names in GROWTH.items()), sizes('build/release')]
    text = '\n\n'.join(parts)
    print(text)
    os.makedirs(folder, exist_ok=True)
    plot_ratios(figures, f'{folder}/performance-ratios.svg')
    plot_growth(figures, 'lines', 'VMCONF by the lines of its file', f'{folder}/performance-lines.svg')
    plot_growth(figures, 'files', 'CLEANUP by the files of its folder', f'{folder}/performance-files.svg')
    plot_growth(figures, 'packages', 'RUNZMSU by the files that it lists', f'{folder}/performance-listing.svg')
    if len(sys.argv) > 3:
        page, readme = sys.argv[3:]
        update_page(page, text)
        update_quotes(readme, figures)


main()
