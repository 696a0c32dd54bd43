"""How far a run is, for ``progress=True``."""
import sys
import time


class _Bar:
    """A line on standard error that is drawn again and again."""

    WIDTH = 30

    def __init__(self, name):
        self._name = name
        self._start = time.monotonic()

    def __call__(self, share):
        seconds = time.monotonic() - self._start
        # Operators without steps stay at 0 until they end: a bar would look frozen.
        text = f"{self._name}  {seconds:.1f} s"
        if share > 0.0:
            filled = int(share * self.WIDTH)
            text = f"{self._name}  [{'#' * filled}{'.' * (self.WIDTH - filled)}] {share:4.0%}  {seconds:.1f} s"
        sys.stderr.write("\r" + text + ("\n" if share >= 1.0 else ""))
        sys.stderr.flush()


def progress_of(progress, name):
    """The function that is called with the share of work done, or None."""
    if progress is True:
        return _Bar(name)
    if progress is False:
        return None
    if not callable(progress):
        raise TypeError(f"{name}(): progress={progress!r}: expected True, or a function of the share of work done")
    return progress
