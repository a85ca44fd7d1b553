"""Draws the figures of a run as SVG: panels one below the other over one time axis, the disturbances beneath."""

import dataclasses
import math
from xml.sax.saxutils import escape

WIDTH = 1100
LEFT, RIGHT = 90, 210  # room for the labels of the values and for the legends
PANEL_HEIGHT, PANEL_GAP, TOP = 150, 28, 60
ROW_HEIGHT = 16
COLOURS = ("#1f5fa8", "#c8553d", "#3a8f4d", "#8a5fb0")


@dataclasses.dataclass(frozen=True)
class Curve:
    """One line, or dots only, of (minute, value) pairs; the trend is a verdict.Line from a minute on."""

    label: str
    points: list
    dots: bool = False
    trend: object = None
    trend_from: float = 0.0


@dataclasses.dataclass(frozen=True)
class Panel:
    title: str
    unit: str
    curves: list


def ticks(low, high, most=6):
    """Round numbers from low to high, at most so many steps apart."""
    span = (high - low) or 1.0
    step = 10 ** math.floor(math.log10(span / most))
    step = next(step * factor for factor in (1, 2, 5, 10) if span / (step * factor) <= most)
    first = math.ceil(low / step - 1e-9)
    last = math.floor(high / step + 1e-9)
    return [round(index * step, 10) for index in range(first, last + 1)]


def value_range(panel):
    """The least and the greatest value shown: the curves' own, from 0 where that costs less than half of the height."""
    values = [value for curve in panel.curves for _, value in curve.points] or [0.0]
    low, high = min(values), max(values)
    if low > 0 and low < high / 2 or high == 0:
        low = 0.0
    margin = (high - low) * 0.08 or max(abs(high) * 0.05, 1.0)
    return (low if low == 0 else low - margin), high + margin


class Drawing:
    """Collects the elements of one picture."""

    def __init__(self, minutes):
        self._minutes = max(minutes, 1e-6)
        self._parts = []

    def x(self, minute):
        return LEFT + (WIDTH - LEFT - RIGHT) * minute / self._minutes

    def line(self, x1, y1, x2, y2, colour, more=""):
        self._parts.append(f'<line x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}" stroke="{colour}" {more}/>')

    def text(self, x, y, words, anchor="start", more=""):
        self._parts.append(f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}" {more}>{escape(words)}</text>')

    def polyline(self, points, colour):
        path = " ".join(f"{x:.1f},{y:.1f}" for x, y in points)
        self._parts.append(f'<polyline points="{path}" fill="none" stroke="{colour}" stroke-width="1.4"/>')

    def begin_clipped(self, name, top, height):
        """From here to end_clipped, nothing is seen outside of a panel's place."""
        self._parts.append(f'<clipPath id="{name}"><rect x="{LEFT}" y="{top}" width="{WIDTH - LEFT - RIGHT}" '
                           f'height="{height}"/></clipPath><g clip-path="url(#{name})">')

    def end_clipped(self):
        self._parts.append("</g>")

    def dot(self, x, y, colour):
        self._parts.append(f'<circle cx="{x:.1f}" cy="{y:.1f}" r="2" fill="none" stroke="{colour}"/>')

    def document(self, height, title):
        head = (f'<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH}" height="{height}" '
                f'viewBox="0 0 {WIDTH} {height}" font-family="sans-serif" font-size="12" fill="#222">')
        paper = f'<rect width="{WIDTH}" height="{height}" fill="#fff"/>'
        return "\n".join([head, f"<title>{escape(title)}</title>", paper, *self._parts, "</svg>", ""])


def draw_panel(drawing, panel, top):
    low, high = value_range(panel)
    bottom = top + PANEL_HEIGHT

    def y(value):
        return bottom - PANEL_HEIGHT * (value - low) / (high - low)

    for value in ticks(low, high):
        drawing.line(LEFT, y(value), WIDTH - RIGHT, y(value), "#ddd")
        drawing.text(LEFT - 6, y(value) + 4, f"{value:g}", "end")
    drawing.line(LEFT, top, LEFT, bottom, "#444")
    drawing.line(LEFT, bottom, WIDTH - RIGHT, bottom, "#444")
    drawing.text(LEFT, top - 8, f"{panel.title} ({panel.unit})", more='font-weight="bold"')
    for index, curve in enumerate(panel.curves):
        colour = COLOURS[index % len(COLOURS)]
        drawing.begin_clipped(f"clip-{top}-{index}", top, PANEL_HEIGHT)
        draw_curve(drawing, curve, colour, y)
        drawing.end_clipped()
        drawing.line(WIDTH - RIGHT + 12, top + 10 + 18 * index, WIDTH - RIGHT + 32, top + 10 + 18 * index, colour,
                     'stroke-width="2"')
        drawing.text(WIDTH - RIGHT + 38, top + 14 + 18 * index, curve.label)


def draw_curve(drawing, curve, colour, y):
    places = [(drawing.x(minute), y(value)) for minute, value in curve.points]
    if curve.dots:
        for place in places:
            drawing.dot(*place, colour)
    elif places:
        drawing.polyline(places, colour)
    if curve.trend and curve.points:
        last = curve.points[-1][0]
        ends = [(minute, curve.trend.start + curve.trend.slope * minute) for minute in (curve.trend_from, last)]
        drawing.line(drawing.x(ends[0][0]), y(ends[0][1]), drawing.x(last), y(ends[1][1]), colour,
                     'stroke-dasharray="6 4" stroke-width="1.2"')


def draw_disturbances(drawing, disturbances, kinds, panels_top, top):
    """One row for each kind, and a faint line up through the panels for each disturbance."""
    drawing.text(LEFT, top - 8, "Disturbances", more='font-weight="bold"')
    for index, kind in enumerate(kinds):
        middle = top + ROW_HEIGHT * (index + 0.5)
        colour = COLOURS[index % len(COLOURS)]
        drawing.text(WIDTH - RIGHT + 12, middle + 4, kind)
        for minute in [minute for minute, found in disturbances if found == kind]:
            drawing.line(drawing.x(minute), panels_top, drawing.x(minute), top, colour, 'stroke-opacity="0.2"')
            drawing.line(drawing.x(minute), middle - 6, drawing.x(minute), middle + 6, colour, 'stroke-width="2"')


def draw_time_axis(drawing, minutes, top):
    drawing.line(LEFT, top, WIDTH - RIGHT, top, "#444")
    for minute in ticks(0, minutes, 12):
        drawing.line(drawing.x(minute), top, drawing.x(minute), top + 5, "#444")
        drawing.text(drawing.x(minute), top + 18, f"{minute:g}", "middle")
    drawing.text((LEFT + WIDTH - RIGHT) / 2, top + 36, "minutes since the start", "middle")


def svg(title, minutes, panels, disturbances, kinds):
    """The whole picture; the disturbances are (minute, kind) pairs."""
    drawing = Drawing(minutes)
    drawing.text(LEFT, 24, title, more='font-size="15"')
    rows_top = TOP + len(panels) * (PANEL_HEIGHT + PANEL_GAP)
    draw_disturbances(drawing, disturbances, kinds, TOP, rows_top)
    for index, panel in enumerate(panels):
        draw_panel(drawing, panel, TOP + index * (PANEL_HEIGHT + PANEL_GAP))
    axis = rows_top + ROW_HEIGHT * len(kinds) + 4
    draw_time_axis(drawing, minutes, axis)
    return drawing.document(axis + 50, title)
