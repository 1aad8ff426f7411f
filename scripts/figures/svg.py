"""A minimal SVG canvas for the documents' figures; y grows downwards, units are pixels."""

from xml.sax.saxutils import escape

INK = "#1f2933"
FONT = "font-family='sans-serif'"


class Canvas:
    """Collects shapes in drawing order and writes them to a file."""

    def __init__(self, width, height, title):
        self.items = []
        self.head = (
            f"<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 {width} {height}' "
            f"role='img' aria-label='{escape(title)}' {FONT}>\n"
            f"<title>{escape(title)}</title>\n"
            "<defs><marker id='tip' viewBox='0 0 10 10' refX='9' refY='5' markerWidth='7' "
            "markerHeight='7' orient='auto-start-reverse'><path d='M0 0L10 5L0 10z' "
            "fill='context-stroke'/></marker></defs>\n"
            f"<rect width='{width}' height='{height}' fill='white'/>\n"
        )

    def path(self, points, stroke=INK, fill="none", width=1.5, dash="", close=False, opacity=1):
        """Draws a polyline through (x, y) points."""
        d = "M" + "L".join(f"{x:.1f} {y:.1f}" for x, y in points) + ("z" if close else "")
        dashes = f" stroke-dasharray='{dash}'" if dash else ""
        self.items.append(
            f"<path d='{d}' stroke='{stroke}' fill='{fill}' stroke-width='{width}'"
            f"{dashes} opacity='{opacity}'/>"
        )

    def arrow(self, start, end, stroke=INK, width=1.8, dash=""):
        """Draws a line with its tip at `end`."""
        dashes = f" stroke-dasharray='{dash}'" if dash else ""
        self.items.append(
            f"<line x1='{start[0]:.1f}' y1='{start[1]:.1f}' x2='{end[0]:.1f}' y2='{end[1]:.1f}' "
            f"stroke='{stroke}' stroke-width='{width}'{dashes} marker-end='url(#tip)'/>"
        )

    def dot(self, at, fill=INK, radius=4):
        self.items.append(
            f"<circle cx='{at[0]:.1f}' cy='{at[1]:.1f}' r='{radius}' fill='{fill}'/>"
        )

    def circle(self, at, radius, stroke=INK, fill="none", width=1.5):
        self.items.append(
            f"<circle cx='{at[0]:.1f}' cy='{at[1]:.1f}' r='{radius:.1f}' stroke='{stroke}' "
            f"fill='{fill}' stroke-width='{width}'/>"
        )

    def box(self, x, y, width, height, fill="#f4f6f8", stroke=INK):
        self.items.append(
            f"<rect x='{x}' y='{y}' width='{width}' height='{height}' rx='6' fill='{fill}' "
            f"stroke='{stroke}' stroke-width='1.3'/>"
        )

    def text(self, at, words, size=14, fill=INK, anchor="start", weight="normal", style="normal"):
        """Writes one line; `anchor` is start, middle or end."""
        self.items.append(
            f"<text x='{at[0]:.1f}' y='{at[1]:.1f}' font-size='{size}' fill='{fill}' "
            f"text-anchor='{anchor}' font-weight='{weight}' font-style='{style}'>"
            f"{escape(words)}</text>"
        )

    def save(self, path):
        with open(path, "w", encoding="utf-8") as file:
            file.write(self.head + "\n".join(self.items) + "\n</svg>\n")
