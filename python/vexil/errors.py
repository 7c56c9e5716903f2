"""Exceptions of the client: everything it raises derives from vexil.Error."""
import builtins


class Error(Exception):
    """Base of every error the client raises."""


class ObjectNotFound(Error):
    """A lookup found nothing; the text is the model's explanation. `name` is the name looked up."""

    def __init__(self, text, name=None):
        super().__init__(text)
        self.name = name


class StaleObject(Error):
    """The object behind a handle was destroyed (or the handle belongs to another program)."""


class InvocationError(Error):
    """A call, property read or write, or global function failed; the text is the model's."""


class ApplicationGone(Error):
    """The program exited or was killed; `exit_code` is negative for a signal, None if unknown."""

    def __init__(self, text, exit_code=None):
        super().__init__(text)
        self.exit_code = exit_code


class LaunchError(Error):
    """The program could not be started under the agent; the text names the cause."""


class TimeoutError(Error, builtins.TimeoutError):
    """The program did not answer in time, or a wait ran out."""


class ProtocolError(Error):
    """The peer sent something the protocol does not allow (malformed frame or body, wrong version)."""


class WaitTimeout(ObjectNotFound, TimeoutError):
    """A wait for an object ran out: both a time-out and a failed lookup, with the last explanation."""


def exit_text(code):
    """The text ApplicationGone carries for a subprocess-style return code."""
    if code is None:
        return "connection to the application closed"
    if code < 0:
        return "application killed by signal %d" % -code
    return "application exited with code %d" % code
