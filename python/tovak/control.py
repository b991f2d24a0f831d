"""Process-wide switches: protocol, verbose messages, the kept connection.

The library holds them for the whole process, so they apply to every thread.
"""

import contextlib
import threading

from . import _tovak

use_direct = _tovak.use_direct
use_remote = _tovak.use_remote
is_remote = _tovak.is_remote
set_verbose = _tovak.set_verbose

_kept = threading.Lock()
_depth = 0


@contextlib.contextmanager
def kept_open():
    """Keep the index connection open between lookups inside the block.

    Blocks may nest (in any thread); the connection closes when the outermost
    one ends. Under the remote protocol the end releases the remote client.
    """
    global _depth
    with _kept:
        if _depth == 0:
            _tovak.index_no_closing(1)
        _depth += 1
    try:
        yield
    finally:
        with _kept:
            _depth -= 1
            if _depth == 0:
                _tovak.index_no_closing(0)
