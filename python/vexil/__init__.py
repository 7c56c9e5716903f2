"""Vexil's Python client: drive a Qt 5 program running under the Vexil agent from another process."""
from .application import Application, Object, Record
from .codec import Point, Rect
from .errors import (ApplicationGone, Error, InvocationError, LaunchError, ObjectNotFound, ProtocolError,
                     StaleObject, TimeoutError)
from .launcher import agent_library, attach, launch

__all__ = ["Application", "ApplicationGone", "Error", "InvocationError", "LaunchError", "Object",
           "ObjectNotFound", "Point", "ProtocolError", "Rect", "Record", "StaleObject", "TimeoutError",
           "agent_library", "attach", "launch"]
__version__ = "1.0.0"
