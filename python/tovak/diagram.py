"""python3 -m tovak.diagram DIAG SHOT SUBSHOT -o FILE.{png,svg}: a timing
diagram of a diagnostic in a shot (what ``tovak diagram`` runs)."""

import argparse
import sys

import matplotlib

matplotlib.use("Agg")

from . import plot  # noqa: E402 (after the back end is chosen)
from .control import set_verbose  # noqa: E402
from .errors import Error  # noqa: E402


def main(argv=None):
    parser = argparse.ArgumentParser(prog="tovak diagram", description=__doc__.split(":")[0])
    parser.add_argument("diag")
    parser.add_argument("shot", type=int)
    parser.add_argument("subshot", type=int)
    parser.add_argument("-o", "--output", required=True, help="FILE.png or FILE.svg")
    parser.add_argument("--server", help="index server name or remote address")
    parser.add_argument("--setup-server", help="setup server name")
    parser.add_argument("--verbose", action="store_true", help="the library's messages")
    args = parser.parse_args(argv)
    if not args.output.endswith((".png", ".svg")):
        parser.error("the output file must end in .png or .svg")
    set_verbose(args.verbose)
    try:
        ax = plot.timing(args.diag, args.shot, args.subshot, server=args.server,
                         setup_server=args.setup_server)
    except (Error, ValueError) as error:
        print(f"tovak diagram: {error}", file=sys.stderr)
        return 1
    # Text stays text in SVG: searchable, and smaller.
    try:
        with matplotlib.rc_context({"svg.fonttype": "none", "svg.hashsalt": "tovak"}):
            ax.figure.savefig(args.output, dpi=110)
    except OSError as error:
        print(f"tovak diagram: cannot write {args.output}: {error.strerror}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
