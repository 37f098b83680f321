"""The pictures of the page about accuracy, drawn from what measure_accuracy printed."""
import math

ORBITS = ("LEO", "MEO", "GEO", "HEO")
ROUNDING_M = 1.2e-3  # the error from rounded times in a low orbit

# Readable on a light page and on a dark one: nothing is black, white or filled.
TEXT = "#808488"
COLOURS = {"LEO": "#d9720b", "MEO": "#2f9e6e", "GEO": "#3d8bd9", "HEO": "#b85fc4"}
LENGTHS = ((1e-6, 1e-3, 1.0, 1e3, 1e6), ("1 µm", "1 mm", "1 m", "1 km", "1,000 km"))
SPACINGS = "time between points"


def draw_curves(panel, figures, kind, orbits=ORBITS, factor=1.0, **style):
    """A curve for each orbit: `kind` against the rows of the figures."""
    for orbit in orbits:
        values = [factor * columns[f"{orbit} {kind}"] for columns in figures.values()]
        panel.plot([int(row) for row in figures], values, color=COLOURS[orbit], marker="o", markersize=3, linewidth=1.5,
                   **({"label": orbit} | style))


def finish(panel, title, label, columns, rows, scale="log"):
    """Title and axes, of which `scale` is the vertical one's; `columns` and `rows` are the places of the marks and
    their texts."""
    panel.set_title(title, fontsize=10)
    panel.set_xlabel(label)
    panel.set_xscale("log")
    panel.set_yscale(scale)
    panel.minorticks_off()
    panel.set_xticks(*columns)
    panel.set_yticks(*rows)
    panel.grid(color=TEXT, alpha=0.3, linewidth=0.5)
    panel.spines[["top", "right"]].set_visible(False)


def draw_spacings(pyplot, figures):
    figure, axes = pyplot.subplots(1, 2, figsize=(9, 4), sharey=True, layout="constrained")
    for panel, measure, title in zip(axes, ("inside position", "ends position"),
                                     ("inside an ephemeris", "in its first and last interval")):
        draw_curves(panel, figures[measure], "largest")
        panel.axhline(ROUNDING_M, color=TEXT, linestyle=":", linewidth=1)
        panel.text(10.5, 0.6 * ROUNDING_M, "times are rounded:\n1.2 mm", fontsize=8, verticalalignment="top")
        finish(panel, title, SPACINGS,
               ((10, 30, 60, 300, 600, 1800, 3600), ("10 s", "30 s", "1 min", "5 min", "10", "30", "1 h")), LENGTHS)
        panel.set_xlim(9, 4000)
        panel.set_ylim(1e-7, 1e8)
    axes[0].set_ylabel("largest error of the position")
    axes[0].legend(frameon=False, loc="upper left", ncols=4, fontsize=9, handlelength=1.2, columnspacing=1.2)
    return figure


def draw_what_is_not_caught(pyplot, figures):
    figure, (holes, alone) = pyplot.subplots(1, 2, figsize=(9, 4), sharey=True, layout="constrained")
    answered = {row: columns for row, columns in figures["holes position"].items()
                if not math.isnan(columns["LEO largest"])}
    draw_curves(holes, answered, "largest")
    finish(holes, "in a hole, points a minute apart around it", "minutes without points",
           ((5, 10, 30, 60, 120, 180), ("5", "10", "30", "60", "120", "180")), LENGTHS)
    draw_curves(alone, figures["positions alone position"], "largest")
    finish(alone, "without velocities, inside an ephemeris", SPACINGS,
           ((10, 30, 60, 120, 300, 600), ("10 s", "30 s", "1 min", "2 min", "5 min", "10 min")), LENGTHS)
    holes.set_ylim(1e-7, 1e9)
    holes.set_ylabel("largest error of the position")
    alone.legend(frameon=False, loc="lower right", ncols=4, fontsize=9, handlelength=1.2, columnspacing=1.2)
    return figure


def draw_covariances(pyplot, figures):
    figure, (sigmas, indefinite) = pyplot.subplots(1, 2, figsize=(9, 4), layout="constrained")
    spacings = ((60, 120, 300, 600, 1800), ("1 min", "2 min", "5 min", "10 min", "30 min"))
    draw_curves(sigmas, figures["covariances"], "sigma", ("LEO", "HEO"), 100.0)
    finish(sigmas, "largest error of sigma", SPACINGS, spacings,
           ((1e-4, 1e-2, 1.0, 100.0), ("0.0001 %", "0.01 %", "1 %", "100 %")))
    sigmas.legend(frameon=False, loc="upper left", ncols=2, fontsize=9, handlelength=1.2, columnspacing=1.2)
    draw_curves(indefinite, figures["covariances"], "indefinite", ("LEO", "HEO"), 100.0)
    draw_curves(indefinite, figures["covariances"], "negative", ("LEO", "HEO"), 100.0, linestyle=":", label=None)
    finish(indefinite, "answers with a matrix that is not positive definite\n(dotted: with a negative variance)",
           SPACINGS, spacings, ((0, 25, 50, 75, 100), ("0 %", "25 %", "50 %", "75 %", "100 %")), "linear")
    indefinite.set_ylim(-2, 105)
    return figure


PICTURES = {
    "interpolation_error": draw_spacings,
    "errors_not_caught": draw_what_is_not_caught,
    "covariance_error": draw_covariances,
}


def draw(figures, folder):
    """Writes each picture as FOLDER/NAME.svg."""
    import matplotlib
    matplotlib.use("svg")
    from matplotlib import pyplot

    # The salt makes the files reproducible.
    matplotlib.rcParams.update({
        "svg.hashsalt": "accuracy", "svg.fonttype": "none", "font.family": "sans-serif", "text.color": TEXT,
        "axes.edgecolor": TEXT, "axes.labelcolor": TEXT, "xtick.color": TEXT, "ytick.color": TEXT})
    for name, picture in PICTURES.items():
        picture(pyplot, figures).savefig(folder / f"{name}.svg", transparent=True,
                                         metadata={"Date": None, "Creator": None})
