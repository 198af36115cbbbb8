#!/usr/bin/env python3
"""A till in Python: takes a loyalty number, shows a QR code to pay with, asks how it was, closes.

An exception cannot leave a ctypes callback, so the handler records the failure and `call` raises
it after the library's function has returned.

usage: till.py LIBRARY PORT
"""

import ctypes
import sys
from ctypes import POINTER, c_char, c_char_p, c_int32, c_uint8, c_uint16, c_uint32, c_uint64

OK, NO_ANSWER, NOTIFICATION = 0, -1, -2
CLEAR_DATA_SIZE, NOTIFICATION_SIZE, SURVEY_ANSWER_SIZE = 1000, 33, 4
PROMPT_LOYALTY_NUMBER, PATIENCE_SECONDS, MAX_POLLS = 3, 30, 30

Handler = ctypes.CFUNCTYPE(None, c_int32, c_char_p)

FUNCTIONS = {
    "pcl_exception_set_uncaught_handler": (None, [Handler]),
    "PP_Open": (c_int32, [c_char_p, c_uint8]),
    "PP_Close": (c_int32, [c_char_p]),
    "abecsGetClearData": (None, [c_uint16, c_uint8, c_uint8, c_uint8]),
    "abecsGetClearDataResponse": (c_int32, [c_char_p, c_char_p]),
    "taviskQRCode": (None, [c_uint64, c_char, c_char_p, c_char_p]),
    "taviskQRCode_response": (c_int32, [POINTER(c_uint8)]),
    "taviskSURVEY_Start": (
        None, [c_uint32, c_uint16, c_uint8, c_uint8, c_char_p, c_uint8, c_char_p]),
    "taviskSURVEY_Get": (c_int32, [c_char_p]),
}


class PinpadFailure(Exception):
    """What the library handed to the handler, or a result that is not yes."""


class Pinpad:
    """The library, with failures as exceptions."""

    def __init__(self, path):
        self._library = ctypes.CDLL(path)
        for name, (result, arguments) in FUNCTIONS.items():
            function = getattr(self._library, name)
            function.restype = result
            function.argtypes = arguments
        self._failure = None
        self._handler = Handler(self._on_failure)  # must live as long as the library is used
        self.call("pcl_exception_set_uncaught_handler", self._handler)

    def _on_failure(self, code, message):
        self._failure = f"failure {code}: {(message or b'').decode('latin-1')}"

    def call(self, name, *arguments):
        result = getattr(self._library, name)(*arguments)
        failure, self._failure = self._failure, None
        if failure is not None:
            raise PinpadFailure(failure)
        return result

    def require(self, name, *arguments):
        result = self.call(name, *arguments)
        if result != OK:
            raise PinpadFailure(f"result {result} of {name}")

    def poll(self, name, *arguments):
        """Gives the first result that is an answer; NO_ANSWER when none came in time."""
        for _ in range(MAX_POLLS):
            result = self.call(name, *arguments)
            if result != NO_ANSWER:
                return result
        return NO_ANSWER

    def require_answer(self, name, *arguments):
        result = self.poll(name, *arguments)
        if result != OK:
            raise PinpadFailure(f"result {result} of {name}")


def take_loyalty_number(pinpad):
    pinpad.call("abecsGetClearData", PROMPT_LOYALTY_NUMBER, 5, 11, PATIENCE_SECONDS)
    number = ctypes.create_string_buffer(CLEAR_DATA_SIZE)
    notification = ctypes.create_string_buffer(NOTIFICATION_SIZE)
    result = pinpad.poll("abecsGetClearDataResponse", number, notification)
    while result == NOTIFICATION:
        print("the PIN pad says:", notification.value.decode("latin-1"))
        result = pinpad.poll("abecsGetClearDataResponse", number, notification)
    if result != OK:
        raise PinpadFailure(f"result {result} of abecsGetClearDataResponse")
    print("loyalty number:", number.value.decode("latin-1"))


def show_qr_code(pinpad):
    pinpad.call("taviskQRCode", PATIENCE_SECONDS, b"1", b"PAY HERE", b"https://example.com/pay/42")
    outcome = c_uint8()
    pinpad.require_answer("taviskQRCode_response", ctypes.byref(outcome))
    print("QR code:", chr(outcome.value))


def run_survey(pinpad):
    pinpad.call("taviskSURVEY_Start", 1, PATIENCE_SECONDS, 12, 0, b"HOW WAS IT?", 0, b"1 TO 9")
    answer = ctypes.create_string_buffer(SURVEY_ANSWER_SIZE)
    pinpad.require_answer("taviskSURVEY_Get", answer)
    print("survey:", answer.value.decode("latin-1"))


def main(arguments):
    if len(arguments) != 3:
        print(__doc__, file=sys.stderr)
        return 2
    pinpad = Pinpad(arguments[1])
    try:
        pinpad.require("PP_Open", arguments[2].encode(), 1)
        take_loyalty_number(pinpad)
        show_qr_code(pinpad)
        run_survey(pinpad)
        pinpad.require("PP_Close", b"SEE YOU")
    except PinpadFailure as failure:
        print(failure)
        return 1
    print("closed")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
