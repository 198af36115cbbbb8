#!/usr/bin/env python3
"""A till in Python: takes a loyalty number, shows a QR code to pay with, asks how it was, closes.

An exception cannot leave a ctypes callback, so the handler records the failure, for its thread, and
`call` raises it after the library's function has returned. The line "cancel" on standard input stops
asking the customer.

usage: till.py LIBRARY PORT
"""

import contextlib
import ctypes
import os
import sys
import threading
from ctypes import POINTER, c_char, c_char_p, c_int32, c_uint8, c_uint16, c_uint32, c_uint64

OK, NO_ANSWER, NOTIFICATION = 0, -1, -2
CLEAR_DATA_SIZE, NOTIFICATION_SIZE, SURVEY_ANSWER_SIZE = 1000, 33, 4
PROMPT_LOYALTY_NUMBER, PATIENCE_SECONDS, MAX_POLLS = 3, 30, 30

Handler = ctypes.CFUNCTYPE(None, c_int32, c_char_p)

FUNCTIONS = {
    "pcl_exception_set_uncaught_handler": (None, [Handler]),
    "PP_Open": (c_int32, [c_char_p, c_uint8]),
    "PP_Close": (c_int32, [c_char_p]),
    "PP_Abort": (None, []),
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


class Cancelled(Exception):
    """The cashier does not want the customer's answer."""


class Pinpad:
    """The library, with failures as exceptions."""

    def __init__(self, path):
        self._library = ctypes.CDLL(path)
        for name, (result, arguments) in FUNCTIONS.items():
            function = getattr(self._library, name)
            function.restype = result
            function.argtypes = arguments
        self._thread = threading.local()
        self._turn = threading.Lock()
        self._asking = False
        self.cancelled = False
        self._handler = Handler(self._on_failure)  # must live as long as the library is used
        self.call("pcl_exception_set_uncaught_handler", self._handler)

    def _on_failure(self, code, message):
        self._thread.failure = f"failure {code}: {(message or b'').decode('latin-1')}"

    def call(self, name, *arguments):
        self._thread.failure = None
        result = getattr(self._library, name)(*arguments)
        if self._thread.failure is not None:
            raise PinpadFailure(self._thread.failure)
        return result

    def require(self, name, *arguments):
        result = self.call(name, *arguments)
        if result != OK:
            raise PinpadFailure(f"result {result} of {name}")

    def poll(self, name, *arguments):
        """Gives the first result that is an answer; NO_ANSWER when none came in time, or when the
        cashier cancelled."""
        for _ in range(MAX_POLLS):
            if self.cancelled:
                break
            result = self.call(name, *arguments)
            if result != NO_ANSWER:
                return result
        return NO_ANSWER

    def require_answer(self, name, *arguments):
        result = self.poll(name, *arguments)
        if result != OK:
            raise PinpadFailure(f"result {result} of {name}")


    def cancel(self):
        """On the cashier's thread: the device stops at once. Its answer may reach the poll in place
        of this call, which then fails, with the command still pending."""
        with self._turn:
            self.cancelled = True
            if self._asking:
                with contextlib.suppress(PinpadFailure):
                    self.call("PP_Abort")

    def ask(self, question):
        """On the till's thread: asks, and raises Cancelled when the cashier has cancelled."""
        with self._turn:
            if self.cancelled:
                raise Cancelled
            self._asking = True
        try:
            question(self)
        finally:
            # The cashier's abort is over, and nobody else reads the line: this one gets its answer.
            with self._turn:
                self._asking = False
                if self.cancelled:
                    self.call("PP_Abort")
                    raise Cancelled


def listen_to_cashier(pinpad):
    while True:
        typed = os.read(sys.stdin.fileno(), 100)
        if not typed:
            return
        if typed.strip() == b"cancel":
            pinpad.cancel()


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
    threading.Thread(target=listen_to_cashier, args=[pinpad], daemon=True).start()
    try:
        pinpad.require("PP_Open", arguments[2].encode(), 1)
        try:
            for question in take_loyalty_number, show_qr_code, run_survey:
                pinpad.ask(question)
        except Cancelled:
            print("cancelled")
        pinpad.require("PP_Close", b"SEE YOU")
    except PinpadFailure as failure:
        print(failure)
        return 1
    print("closed")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
