# SPDX-License-Identifier: GPL-2.0-or-later
"""What was measured, as a table of text with its ratios and as a plot of the growth."""

OWN, LIBRARIES, FLOOR = ("complete", "veluindexd"), "libraries", "floor"


def per_thousand(result):
    files = result["files"] / 1000
    return {"wall": result["wall"] / files, "cpu": result["cpu"] / files, "peak": result["peak_kb"] / 1024}


def peak_text(name, figures):
    # The floor ends before its memory can be looked at.
    return "-" if name == FLOOR else f"{figures['peak']:.1f}"


def calls_text(result):
    return f"{result['calls'] / result['files']:.1f}" if "calls" in result else "-"


def best_peer(results, key):
    """The best figure of the peers, or None where there is none."""
    return min((per_thousand(result)[key] for name, result in results.items() if name not in (*OWN, LIBRARIES, FLOOR)), default=None)


def peaks_text(result):
    """Of each program of one, the main one first, which is named like its contender or else."""
    return " + ".join(f"{kilobytes / 1024:.1f}" for kilobytes in result["peaks"].values())


def table(main):
    """`main`: kind -> contender -> its medians."""
    lines = ["| corpus | program | files/s | wall ms / file | cold | CPU ms / file | user | system | peak MB | KB written / file | calls / file |",
             "| --- | --- | ---: | ---: | ---: | ---: | ---: | ---: | ---: | ---: | ---: |"]
    for kind, results in main.items():
        for name, result in results.items():
            figures = per_thousand(result)
            lines.append(f"| {kind} | {name} | {1000 / figures['wall']:.0f} | {figures['wall']:.3f} | {result['cold'] / result['files'] * 1000:.3f} | {figures['cpu']:.3f} | "
                         f"{result['user'] / result['files'] * 1000:.3f} | "
                         f"{result['system'] / result['files'] * 1000:.3f} | {peak_text(name, figures)} | {result['written'] / result['files'] / 1024:.1f} | "
                         f"{calls_text(result)} |")
    return "\n".join(lines)


def ratios(main):
    lines = ["| corpus | rules | speed, times the best peer | CPU per file, of the best peer's | peak, of the smallest peer's | "
             "CPU, times the floor |",
             "| --- | --- | ---: | ---: | ---: | ---: |"]
    for kind, results in main.items():
        for name in (name for name in OWN if name in results):
            own = per_thousand(results[name])
            floor = f"{own['cpu'] / per_thousand(results[FLOOR])['cpu']:.1f}" if FLOOR in results else "-"
            peers = "- | - | -" if best_peer(results, "wall") is None else \
                " | ".join(f"{best_peer(results, key) / own[key] if key == 'wall' else own[key] / best_peer(results, key):.2f}"
                           for key in ("wall", "cpu", "peak"))
            lines.append(f"| {kind} | {'appliance' if name == OWN[1] else name} | {peers} | {floor} |")
    return "\n".join(lines)


def walls(main):
    """What stands between the libraries and the rows."""
    lines = ["| corpus | libraries alone, files/s | rules complete, files/s | times | CPU beside the libraries', µs / file | peaks MB |",
             "| --- | ---: | ---: | ---: | ---: | --- |"]
    for kind, results in main.items():
        if LIBRARIES not in results or OWN[0] not in results:
            continue
        alone, own = per_thousand(results[LIBRARIES]), per_thousand(results[OWN[0]])
        lines.append(f"| {kind} | {1000 / alone['wall']:.0f} | {1000 / own['wall']:.0f} | {alone['wall'] / own['wall']:.2f} | "
                     f"{(own['cpu'] - alone['cpu']) * 1000:.0f} | "
                     + ", ".join(f"{name} {kilobytes / 1024:.1f}" for name, kilobytes in results[OWN[0]]["peaks"].items()) + " |")
    return "\n".join(lines)


def growth_table(growth):
    """`growth`: files -> kind -> contender -> its medians."""
    sizes = sorted(growth)
    lines = ["| corpus | program | " + " | ".join(f"CPU ms / file at {size:,}" for size in sizes) + " | " +
             " | ".join(f"peak MB at {size:,}" for size in sizes) + " |",
             "| --- | --- |" + " ---: |" * (2 * len(sizes))]
    for kind in growth[sizes[0]]:
        for name in growth[sizes[0]][kind]:
            figures = [per_thousand(growth[size][kind][name]) for size in sizes]
            lines.append(f"| {kind} | {name} | " + " | ".join(f"{figure['cpu']:.3f}" for figure in figures) + " | " +
                         " | ".join(peak_text(name, figure) for figure in figures) + " |")
    return "\n".join(lines)


def plot(growth, path):
    """Draws processor time and memory against the number of files, a row for each kind of corpus."""
    import matplotlib  # pylint: disable=import-outside-toplevel
    matplotlib.use("Agg")
    # The same picture has the same text, whenever it is drawn.
    matplotlib.rcParams["svg.hashsalt"] = "velu"
    from matplotlib import pyplot  # pylint: disable=import-outside-toplevel
    sizes = sorted(growth)
    kinds = list(growth[sizes[0]])
    # A program has one colour, also where another one has not taken part.
    names = list(dict.fromkeys(name for kind in kinds for name in growth[sizes[0]][kind]))
    figure, axes = pyplot.subplots(2, len(kinds), figsize=(3.2 * len(kinds), 5.6), squeeze=False)
    for column, kind in enumerate(kinds):
        for row, (key, unit) in enumerate((("cpu", "CPU seconds"), ("peak", "peak MB"))):
            chart = axes[row][column]
            for name in growth[sizes[0]][kind]:
                if (key, name) == ("peak", FLOOR):
                    continue
                figures = [per_thousand(growth[size][kind][name]) for size in sizes]
                chart.plot(sizes, [value["cpu"] * size / 1000 if key == "cpu" else value["peak"]
                                   for value, size in zip(figures, sizes)], marker="o", markersize=3, label=name,
                           color=f"C{names.index(name)}")
            chart.set_ylim(bottom=0)
            chart.set_xticks(sizes, [f"{size:,}" for size in sizes], fontsize=7)
            chart.tick_params(axis="y", labelsize=7)
            chart.grid(alpha=0.3)
            if row == 0:
                chart.set_title(kind, fontsize=9)
            if column == 0:
                chart.set_ylabel(unit, fontsize=8)
    axes[0][0].legend(fontsize=7)
    figure.tight_layout()
    figure.savefig(path, metadata={"Date": None})
