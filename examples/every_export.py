#!/usr/bin/env python3
"""Calls every function of the library once against a PIN pad with a MIFARE card at hand and a
customer who answers: see every_export.scn.

usage: every_export.py LIBRARY PORT
"""

import ctypes
import sys
from ctypes import POINTER, c_char, c_char_p, c_int32, c_uint8, c_uint16, c_uint32, c_uint64

OK = 0
NO_ANSWER = -1
NOTIFICATION = -2

CLEAR_DATA_SIZE = 1000
NOTIFICATION_SIZE = 33
STATUS_SIZE = 3
MF_TEXT_SIZE = 2039
SURVEY_ANSWER_SIZE = 4

MAX_POLLS = 10
FACTORY_KEY = b"FFFFFFFFFFFF"

Handler = ctypes.CFUNCTYPE(None, c_int32, c_char_p)

# Name, result, arguments.
FUNCTIONS = (
    ("pcl_exception_set_uncaught_handler", None, (Handler,)),
    ("PP_Open", c_int32, (c_char_p, c_uint8)),
    ("PP_Close", c_int32, (c_char_p,)),
    ("PP_CloseExtended", c_int32, (c_char_p, c_char_p)),
    ("PP_Abort", None, ()),
    ("abecsGetClearData", None, (c_uint16, c_uint8, c_uint8, c_uint8)),
    ("abecsGetClearDataResponse", c_int32, (c_char_p, c_char_p)),
    ("taviskMF_Activate", c_int32, (c_char_p, c_char_p)),
    ("taviskMF_Authenticate", c_int32, (c_uint16, c_char, c_char_p, c_char_p, c_char_p)),
    ("taviskMF_ReadWrite", c_int32,
     (c_char, c_uint16, c_uint8, POINTER(c_uint32), c_char_p, c_char_p)),
    ("taviskMF_ValueCommand", c_int32,
     (c_uint16, c_uint16, c_char, c_int32, POINTER(c_int32), c_char_p)),
    ("taviskMF_BlockConfigGet", c_int32, (c_uint16, c_char_p, c_char_p)),
    ("taviskMF_BlockConfigSet", c_int32, (c_uint16, c_char_p, c_char_p, c_char_p, c_char_p)),
    ("taviskMF_KeyChange", c_int32, (c_uint16, c_char_p, c_char_p, c_char_p)),
    ("taviskQRCode", None, (c_uint64, c_char, c_char_p, c_char_p)),
    ("taviskQRCode_response", c_int32, (POINTER(c_uint8),)),
    ("taviskSURVEY_Start", None,
     (c_uint32, c_uint16, c_uint8, c_uint8, c_char_p, c_uint8, c_char_p)),
    ("taviskSURVEY_Get", c_int32, (c_char_p,)),
    ("taviskSURVEY_Stop", c_int32, ()),
    ("taviskCXSurveys_Start", None, (c_char, c_char, c_char) + (c_char_p,) * 7),
    ("taviskCXSurveys_Get", c_int32, (c_char_p,)),
    ("taviskCXSurveys_Stop", c_int32, ()),
)


class PinpadFailure(Exception):
    """What the library handed to the failure handler."""


class Pinpad:
    """The library with its failures turned into exceptions after each call."""

    def __init__(self, path):
        self._library = ctypes.CDLL(path)
        for name, result, arguments in FUNCTIONS:
            function = getattr(self._library, name)
            function.restype = result
            function.argtypes = arguments
        self._failure = None
        # Kept here: the library calls it as long as it is loaded.
        self._handler = Handler(self._on_failure)
        self.call("pcl_exception_set_uncaught_handler", self._handler)

    def _on_failure(self, code, message):
        self._failure = f"failure {code}: {(message or b'').decode('latin-1')}"

    def call(self, name, *arguments):
        """Calls a function and raises what it handed to the handler."""
        result = getattr(self._library, name)(*arguments)
        if self._failure is not None:
            failure, self._failure = self._failure, None
            raise PinpadFailure(f"{name}: {failure}")
        print(name, flush=True)
        return result

    def require(self, name, *arguments):
        """Calls a function whose result must be 0."""
        result = self.call(name, *arguments)
        if result != OK:
            raise PinpadFailure(f"{name}: result {result}")

    def poll(self, name, *arguments):
        """Polls until there is a final answer, which must be 0."""
        for _ in range(MAX_POLLS):
            result = self.call(name, *arguments)
            if result not in (NO_ANSWER, NOTIFICATION):
                break
        if result != OK:
            raise PinpadFailure(f"{name}: result {result}")

    def card(self, name, *arguments):
        """Calls a card function, whose last argument is the status."""
        status = ctypes.create_string_buffer(STATUS_SIZE)
        self.require(name, *arguments, status)
        if status.value != b"00":
            raise PinpadFailure(f"{name}: status {status.value}")


def expect(what, expected, value):
    if expected != value:
        raise PinpadFailure(f"{what}: expected {expected}, got {value}")


def capture(pinpad):
    number = ctypes.create_string_buffer(CLEAR_DATA_SIZE)
    notification = ctypes.create_string_buffer(NOTIFICATION_SIZE)
    pinpad.call("abecsGetClearData", 1, 4, 8, 30)
    pinpad.poll("abecsGetClearDataResponse", number, notification)
    expect("the digits", b"12345", number.value)
    pinpad.call("abecsGetClearData", 1, 4, 8, 30)
    pinpad.call("PP_Abort")


def use_card(pinpad):
    serial = ctypes.create_string_buffer(MF_TEXT_SIZE)
    flags = ctypes.create_string_buffer(MF_TEXT_SIZE)
    pinpad.card("taviskMF_Activate", serial)
    expect("the serial number", b"11223344", serial.value)
    pinpad.card("taviskMF_Authenticate", 4, b"A", FACTORY_KEY, serial)

    block = b"000102030405060708090A0B0C0D0E0F"
    length = c_uint32(16)
    data = ctypes.create_string_buffer(block, MF_TEXT_SIZE)
    pinpad.card("taviskMF_ReadWrite", b"W", 4, 0, ctypes.byref(length), data)
    length.value = 16
    pinpad.card("taviskMF_ReadWrite", b"R", 4, 0, ctypes.byref(length), data)
    expect("the block", block, data.value)

    value = c_int32()
    pinpad.card("taviskMF_ValueCommand", 5, 5, b"W", 100, ctypes.byref(value))
    pinpad.card("taviskMF_ValueCommand", 5, 5, b"-", 30, ctypes.byref(value))
    pinpad.card("taviskMF_ValueCommand", 5, 5, b"R", 0, ctypes.byref(value))
    expect("the value", 70, value.value)

    pinpad.card("taviskMF_BlockConfigGet", 4, flags)
    expect("the configuration", b"000", flags.value)
    pinpad.card("taviskMF_BlockConfigSet", 4, FACTORY_KEY, FACTORY_KEY, flags)
    pinpad.card("taviskMF_KeyChange", 4, b"A0A1A2A3A4A5", b"B0B1B2B3B4B5")


def show_qr_code(pinpad):
    outcome = c_uint8()
    pinpad.call("taviskQRCode", 30, b"1", b"PAY HERE", b"https://example.com/pay/42")
    pinpad.poll("taviskQRCode_response", ctypes.byref(outcome))
    expect("the outcome", ord("0"), outcome.value)


def ask(pinpad):
    answer = ctypes.create_string_buffer(SURVEY_ANSWER_SIZE)
    pinpad.call("taviskSURVEY_Start", 1, 30, 8, 0, b"HOW WAS IT?", 0, b"1 TO 9")
    pinpad.poll("taviskSURVEY_Get", answer)
    expect("the answer", b"7", answer.value)
    pinpad.call("taviskSURVEY_Start", 2, 30, 8, 0, b"ANYTHING ELSE?", 0, b"1 TO 9")
    pinpad.require("taviskSURVEY_Stop")
    pinpad.call("taviskCXSurveys_Start", b"1", b"1", b"5", b"030", b"010", b"WOULD YOU", b" COME",
                b" AGAIN", b"?", b"")
    pinpad.poll("taviskCXSurveys_Get", answer)
    expect("the answer", b"005", answer.value)
    pinpad.call("taviskCXSurveys_Start", b"1", b"1", b"5", b"030", b"010", b"SURE?", b"", b"", b"",
                b"")
    pinpad.require("taviskCXSurveys_Stop")


def main(arguments):
    if len(arguments) != 3:
        print(__doc__, file=sys.stderr)
        return 2
    pinpad = Pinpad(arguments[1])
    port = arguments[2].encode()
    try:
        pinpad.require("PP_Open", port, 1)
        capture(pinpad)
        use_card(pinpad)
        show_qr_code(pinpad)
        ask(pinpad)
        pinpad.require("PP_CloseExtended", b"BACK IN\rA MINUTE", None)
        pinpad.require("PP_Open", port, 0)
        pinpad.require("PP_Close", b"GOOD BYE")
    except PinpadFailure as failure:
        print(failure, file=sys.stderr)
        return 1
    print("every function was called")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
