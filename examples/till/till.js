// A till in Node: takes a loyalty number, shows a QR code to pay with, asks how it was, closes.
// The handler records the failure, and check() throws it after the library's function has returned.
// Each poll holds the event loop for up to two seconds: a program with more to do than this one
// puts the PIN pad into a worker thread.
// usage: node till.js LIBRARY PORT
'use strict';

const koffi = require('koffi');

const OK = 0;
const NO_ANSWER = -1;
const NOTIFICATION = -2;
const CLEAR_DATA_SIZE = 1000;
const NOTIFICATION_SIZE = 33;
const SURVEY_ANSWER_SIZE = 4;
const PROMPT_LOYALTY_NUMBER = 3;
const PATIENCE_SECONDS = 30;
const MAX_POLLS = 30;

class PinpadFailure extends Error {}

function loadPinpad(path) {
    const library = koffi.load(path);
    const Handler = koffi.proto('void FailureHandler(int32_t code, const char *message)');
    const pinpad = {};
    for (const prototype of [
        'void pcl_exception_set_uncaught_handler(FailureHandler *handler)',
        'int32_t PP_Open(const char *portName, uint8_t secure)',
        'int32_t PP_Close(const char *message)',
        'void abecsGetClearData(uint16_t promptId, uint8_t minDig, uint8_t maxDig, uint8_t seconds)',
        'int32_t abecsGetClearDataResponse(_Out_ uint8_t *out, _Out_ uint8_t *notification)',
        'void taviskQRCode(uint64_t timeout, int8_t lineType, const char *line, const char *qrCode)',
        'int32_t taviskQRCode_response(_Out_ uint8_t *result)',
        'void taviskSURVEY_Start(uint32_t code, uint16_t timeout, uint8_t screenStyle,' +
            ' uint8_t topType, const char *topData, uint8_t bottomType, const char *bottomData)',
        'int32_t taviskSURVEY_Get(_Out_ uint8_t *answer)',
    ]) {
        const name = prototype.match(/(\w+)\(/)[1];
        pinpad[name] = library.func(prototype);
    }
    return { pinpad, Handler };
}

let failure = null;

function check() {
    const recorded = failure;
    failure = null;
    if (recorded !== null) {
        throw new PinpadFailure(recorded);
    }
}

function requireOk(what, result) {
    check();
    if (result !== OK) {
        throw new PinpadFailure(`result ${result} of ${what}`);
    }
}

function waitForAnswer(what, poll) {
    let result = NO_ANSWER;
    for (let polls = 0;
        polls < MAX_POLLS && (result === NO_ANSWER || result === NOTIFICATION); ++polls) {
        result = poll();
    }
    requireOk(what, result);
}

function text(buffer) {
    return buffer.toString('latin1', 0, buffer.indexOf(0));
}

function takeLoyaltyNumber(pinpad) {
    pinpad.abecsGetClearData(PROMPT_LOYALTY_NUMBER, 5, 11, PATIENCE_SECONDS);
    check();
    const number = Buffer.alloc(CLEAR_DATA_SIZE);
    const notification = Buffer.alloc(NOTIFICATION_SIZE);
    waitForAnswer('abecsGetClearDataResponse', () => {
        const result = pinpad.abecsGetClearDataResponse(number, notification);
        if (result === NOTIFICATION) {
            console.log(`the PIN pad says: ${text(notification)}`);
        }
        return result;
    });
    console.log(`loyalty number: ${text(number)}`);
}

function showQrCode(pinpad) {
    const lineType = '1'.charCodeAt(0);
    pinpad.taviskQRCode(PATIENCE_SECONDS, lineType, 'PAY HERE', 'https://example.com/pay/42');
    check();
    const outcome = Buffer.alloc(1);
    waitForAnswer('taviskQRCode_response', () => pinpad.taviskQRCode_response(outcome));
    console.log(`QR code: ${String.fromCharCode(outcome[0])}`);
}

function runSurvey(pinpad) {
    pinpad.taviskSURVEY_Start(1, PATIENCE_SECONDS, 12, 0, 'HOW WAS IT?', 0, '1 TO 9');
    check();
    const answer = Buffer.alloc(SURVEY_ANSWER_SIZE);
    waitForAnswer('taviskSURVEY_Get', () => pinpad.taviskSURVEY_Get(answer));
    console.log(`survey: ${text(answer)}`);
}

function main(libraryPath, port) {
    const { pinpad, Handler } = loadPinpad(libraryPath);
    // Registered, not passed as it is: the library calls it after the setter has returned.
    const handler = koffi.register((code, message) => {
        failure = `failure ${code}: ${message}`;
    }, koffi.pointer(Handler));
    pinpad.pcl_exception_set_uncaught_handler(handler);
    try {
        requireOk('PP_Open', pinpad.PP_Open(port, 1));
        takeLoyaltyNumber(pinpad);
        showQrCode(pinpad);
        runSurvey(pinpad);
        requireOk('PP_Close', pinpad.PP_Close('SEE YOU'));
    } catch (caught) {
        if (!(caught instanceof PinpadFailure)) {
            throw caught;
        }
        console.log(caught.message);
        return 1;
    }
    console.log('closed');
    return 0;
}

if (process.argv.length !== 4) {
    console.error('usage: node till.js LIBRARY PORT');
    process.exitCode = 2;
} else {
    process.exitCode = main(process.argv[2], process.argv[3]);
}
