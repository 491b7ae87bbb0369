#!/usr/bin/env python3
"""Draws docs/pictures/request.svg: what happens between zmlogadm, the network service, the agent and the files.

Usage: scripts/draw_flow.py >docs/pictures/request.svg
"""

from xml.sax.saxutils import escape

WIDTH = 940
TOP = 96
ROW = 46
FONT = "font-family='DejaVu Sans, Verdana, sans-serif'"

# The columns: title, subtitle, and the position of the line.
COLUMNS = {
    "command": ("zmlogadm", "root on a listed server", 120),
    "service": ("network service", "systemd or inetd", 350),
    "agent": ("zmlogadmagent", "root, one process a request", 580),
    "files": ("files and tools", "of this host", 820),
}

# The arrows, from top to bottom: start, end, the text above, and the kind.
STEPS = [
    ("command", "service", "connects from a port below 1024", "call"),
    ("service", "agent", "starts it, socket = descriptor 0", "call"),
    ("files", "agent", "SERVER list of qr.conf", "answer"),
    ("agent", "agent", "listed host? user root?", "self"),
    ("command", "agent", "the request: ENABLELOGGING ZMKTUL:111=6", "call"),
    ("agent", "files", "writes a new file, renames it", "call"),
    ("agent", "files", "or runs a tool on the socket", "call"),
    ("agent", "command", "PROCESS=ZMKTUL:111 STATUS=0 MSG=...", "answer"),
    ("agent", "command", "EXIT STATUS 0 ...; the agent ends", "answer"),
]


def text(x, y, content, size=13, weight="normal", colour="#1f2933", anchor="middle", halo=0):
    """Text, with a white halo where it crosses a line."""
    return (
        f"<text x='{x}' y='{y}' {FONT} font-size='{size}' font-weight='{weight}' fill='{colour}' "
        f"text-anchor='{anchor}' paint-order='stroke' stroke='#ffffff' stroke-width='{halo}'>{escape(content)}</text>"
    )


def column(title, subtitle, x, bottom):
    return [
        f"<line x1='{x}' y1='{TOP - 20}' x2='{x}' y2='{bottom}' stroke='#9aa5b1' stroke-dasharray='4 4'/>",
        f"<rect x='{x - 105}' y='16' width='210' height='52' rx='6' fill='#e4f0fb' stroke='#33658a'/>",
        text(x, 38, title, size=15, weight="bold"),
        text(x, 57, subtitle, size=12, colour="#52606d"),
    ]


def arrow(number, begin, end, label, kind):
    y = TOP + number * ROW + 24
    left, right = COLUMNS[begin][2], COLUMNS[end][2]
    if kind == "self":
        path = f"M {left} {y - 6} h 34 v 18 h -30"
        place = text(left + 44, y + 8, f"{number + 1}. {label}", anchor="start", size=12, halo=5)
    else:
        path = f"M {left} {y} H {right - 6 if right > left else right + 6}"
        place = text((left + right) / 2, y - 10, f"{number + 1}. {label}", size=12, halo=5)
    dashes = " stroke-dasharray='6 3'" if kind == "answer" else ""
    return [f"<path d='{path}' fill='none' stroke='#33658a' stroke-width='1.6'{dashes} marker-end='url(#head)'/>", place]


def picture():
    bottom = TOP + len(STEPS) * ROW + 16
    lines = [
        f"<svg xmlns='http://www.w3.org/2000/svg' width='{WIDTH}' height='{bottom + 16}' "
        f"viewBox='0 0 {WIDTH} {bottom + 16}' role='img'>",
        "<title>The way of a request</title>",
        "<defs><marker id='head' viewBox='0 0 10 10' refX='9' refY='5' markerWidth='8' markerHeight='8' orient='auto'>"
        "<path d='M 0 0 L 10 5 L 0 10 z' fill='#33658a'/></marker></defs>",
        f"<rect width='{WIDTH}' height='{bottom + 16}' fill='#ffffff'/>",
    ]
    for title, subtitle, x in COLUMNS.values():
        lines += column(title, subtitle, x, bottom)
    for number, step in enumerate(STEPS):
        lines += arrow(number, *step)
    return "\n".join(lines + ["</svg>"])


if __name__ == "__main__":
    print(picture())
