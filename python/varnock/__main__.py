"""``python3 -m varnock COMMAND``: jobs of the varnock tool that need Python.

    python3 -m varnock plot FILE PATHNAME... --output out.png [--start T] [--end T]

The C++ tool's ``varnock plot`` runs this. Errors are one line on stderr, with the tool's
exit codes: 2 usage, 3 file cannot be opened, 4 nothing matched, 1 anything else (a missing
package included, named in the message).
"""

from __future__ import annotations

import argparse
import os
import sys
from typing import Optional, Sequence

EXIT_FAILURE, EXIT_USAGE, EXIT_FILE, EXIT_NOT_FOUND = 1, 2, 3, 4

PLOT_USAGE = """usage: varnock plot FILE PATHNAME... --output IMAGE [--start T] [--end T]

Draws time series (several share one figure) or paired data (curves against the first axis)
from FILE into IMAGE (PNG, SVG or PDF, by its extension), labelled with the pathname parts,
units and curve labels. A PATHNAME with * or ? plots every series it matches (D part blank
reads whole series). --start and --end (dates such as 2021-01-01T06:00 or 01Jan2021 0600)
limit time series to a window.

options:
  --output IMAGE   the image to write (required)
  --start T        first time to draw
  --end T          last time to draw
  --width INCHES   figure width (default 9)
  --dpi N          resolution of raster images (default 110)
"""


class Failure(Exception):
    def __init__(self, code: int, message: str):
        super().__init__(message)
        self.code = code


class _Parser(argparse.ArgumentParser):
    def error(self, message):  # usage errors: one line, exit code 2
        raise Failure(EXIT_USAGE, f"{message} (see 'varnock plot --help')")


def _plot_arguments(argv: Sequence[str]):
    parser = _Parser(prog="varnock plot", add_help=False)
    parser.add_argument("file")
    parser.add_argument("pathnames", nargs="+")
    parser.add_argument("--output", "-o", required=True)
    parser.add_argument("--start")
    parser.add_argument("--end")
    parser.add_argument("--width", type=float, default=9.0)
    parser.add_argument("--dpi", type=int, default=110)
    return parser.parse_args(list(argv))


def _open(path: str):
    import varnock

    if not os.path.isfile(path):
        raise Failure(EXIT_FILE, f"cannot open {path}: no such file")
    try:
        return varnock.open(path)
    except (varnock.AutomationError, OSError) as error:
        raise Failure(EXIT_FILE, f"cannot open {path}: {getattr(error, 'description', error)}")


def _records(db, path: str, pathnames: Sequence[str], start, end) -> list:
    import varnock
    from varnock import many

    records = []
    for pathname in pathnames:
        names = many._series_names(db, pathname) if many._is_pattern(pathname) else [pathname]
        if not names:
            raise Failure(EXIT_NOT_FOUND, f"no time series in {path} matches {pathname}")
        for name in names:
            try:
                records.append(db.read(name, start, end))
            except varnock.AutomationError as error:
                description = error.description or str(error)
                if name not in description:
                    description = f"{name}: {description}"
                raise Failure(EXIT_NOT_FOUND, description) from None
            except (ValueError, TypeError) as error:
                message = str(error)
                code = EXIT_NOT_FOUND if message.startswith("no record") else EXIT_FAILURE
                raise Failure(code, message) from None
    return records


def plot_command(argv: Sequence[str]) -> int:
    if any(arg in ("--help", "-h") for arg in argv):
        sys.stdout.write(PLOT_USAGE)
        return 0
    args = _plot_arguments(argv)
    from varnock import plotting

    try:
        import matplotlib

        matplotlib.use("Agg")  # files only, no display needed
    except ImportError:
        pass  # pyplot() below says what to install
    try:
        plt = plotting.pyplot()
    except ImportError as error:
        raise Failure(EXIT_FAILURE, str(error)) from None
    with _open(args.file) as db:
        records = _records(db, args.file, args.pathnames, args.start, args.end)
    for record in records:
        if len(record) == 0:
            name = record.attrs.get("pathname") or getattr(record, "name", "")
            raise Failure(EXIT_NOT_FOUND, f"{name}: no values in the window")
    axes = plotting.plot(records)
    first = axes if not isinstance(axes, list) else axes[0]
    figure = first.figure
    figure.set_size_inches(args.width, figure.get_size_inches()[1])
    figure.tight_layout()
    try:
        figure.savefig(args.output, dpi=args.dpi)
    except (OSError, ValueError) as error:
        raise Failure(EXIT_FAILURE, f"cannot write {args.output}: {error}") from None
    finally:
        plt.close(figure)
    print(f"{args.output}: {len(records)} record{'s' if len(records) != 1 else ''} plotted")
    return 0


COMMANDS = {"plot": plot_command}


def main(argv: Optional[Sequence[str]] = None) -> int:
    argv = list(sys.argv[1:] if argv is None else argv)
    if not argv or argv[0] in ("--help", "-h"):
        sys.stdout.write(PLOT_USAGE.replace("usage: varnock", "usage: python3 -m varnock"))
        return 0 if argv else EXIT_USAGE
    if argv[0] not in COMMANDS:
        print(f"varnock: unknown command '{argv[0]}' (commands: plot)", file=sys.stderr)
        return EXIT_USAGE
    command = argv[0]
    try:
        return COMMANDS[command](argv[1:])
    except Failure as failure:
        print(f"varnock {command}: {failure}", file=sys.stderr)
        return failure.code
    except Exception as error:  # one line, never a traceback
        description = getattr(error, "description", None) or str(error)
        print(f"varnock {command}: {description}", file=sys.stderr)
        return EXIT_FAILURE


if __name__ == "__main__":
    sys.exit(main())
