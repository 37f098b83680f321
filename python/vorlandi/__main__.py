"""The commands of the tool: ``python3 -m vorlandi --help``."""

import os
import signal
import sys

from vorlandi import _vorlandi

if __name__ == "__main__":
    # The commands run without the interpreter, which could not react to Ctrl-C.
    signal.signal(signal.SIGINT, signal.SIG_DFL)
    sys.exit(_vorlandi.run([b"vorlandi", *map(os.fsencode, sys.argv[1:])]))
