"""Kelmira image operators over NumPy arrays.

Images are NumPy arrays used in place, never copied: uint8 (h, w) is BW8, uint16 BW16,
uint32 BW32, int32 INT32, float32 and float64 the float types, uint8 (h, w, 3) C24 and
uint8 (h, w, 4) C24A. Any row stride is accepted, so a slice of a larger array is a view
into it; the pixels of a row must be contiguous.

Operators keep their C++ names and argument order. The destination may be left out (or None):
a new array of the first source's size is returned. Given, it is written in place and returned.
Positional arguments always read as the complete C++ call first, so LumOper(code, a, b) with two
images is the one-source form writing b; pass destination= to mean a op b into a new array
(kelmira.LumOper(code, a, b, None) works too). LumConvert always needs its destination: its type
picks the conversion. Forms with an in-out count (LumThin, ...) return (destination, count).

Failures raise kelmira.Error with .number, .name, .text and .trace. The GIL is released while an
operator runs.
"""
import enum as _enum

from . import _api
from ._kelmira import *  # noqa: F401,F403
from ._kelmira import _set_error_class_factory  # noqa: F401

for _name, _members in _api.ENUMS.items():
    globals()[_name] = _enum.IntEnum(_name, _members, module=__name__)
    globals()[_name].__doc__ = "The %s enumeration of the C++ headers." % _name
    globals().update({m: globals()[_name][m] for m, _ in _members})


class Error(RuntimeError):
    """A failed operator: .number and .name (the Z_ERRORS value), .text (its sentence) and
    .trace (the trace words the call left, innermost first)."""

    def __init__(self, number, text, trace):
        self.number = number
        try:
            self.name = Z_ERRORS(number).name  # noqa: F821 (from _api)
        except ValueError:
            self.name = "Z_ERROR_%d" % number
        self.text = text
        self.trace = list(trace)
        super().__init__("%s (%d): %s; trace %r" % (self.name, number, text, self.trace))


_set_error_class_factory(Error)
