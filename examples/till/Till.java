// A till in Java: takes a loyalty number, shows a QR code to pay with, asks how it was, closes.
// JNA swallows exceptions of callbacks: the handler records the failure, and check() throws it
// after the library's function has returned.
// usage: java -cp jna.jar:. Till LIBRARY PORT

import com.sun.jna.Callback;
import com.sun.jna.Library;
import com.sun.jna.Native;
import com.sun.jna.ptr.ByteByReference;
import java.util.function.IntSupplier;

public final class Till {
    static final int OK = 0;
    static final int NO_ANSWER = -1;
    static final int NOTIFICATION = -2;
    static final int CLEAR_DATA_SIZE = 1000;
    static final int NOTIFICATION_SIZE = 33;
    static final int SURVEY_ANSWER_SIZE = 4;
    static final short PROMPT_LOYALTY_NUMBER = 3;
    static final byte PATIENCE_SECONDS = 30;
    static final int MAX_POLLS = 30;

    /** The library's functions; the names are the exported ones. */
    public interface Pinpad extends Library {
        /** Receives failures. */
        interface FailureHandler extends Callback {
            void failed(int code, String message);
        }

        void pcl_exception_set_uncaught_handler(FailureHandler handler);

        int PP_Open(String portName, byte secure);

        int PP_Close(String message);

        void abecsGetClearData(short promptId, byte minDig, byte maxDig, byte timeoutSeconds);

        int abecsGetClearDataResponse(byte[] out, byte[] notification);

        void taviskQRCode(long timeout, byte lineType, String line, String qrCode);

        int taviskQRCode_response(ByteByReference result);

        void taviskSURVEY_Start(int code, short timeout, byte screenStyle, byte topType,
            String topData, byte bottomType, String bottomData);

        int taviskSURVEY_Get(byte[] answer);
    }

    static final class PinpadFailure extends RuntimeException {
        PinpadFailure(String message) {
            super(message);
        }
    }

    private final Pinpad pinpad;
    private String failure;
    // Kept here: the collector must not take the callback from under the library.
    private final Pinpad.FailureHandler handler =
        (code, message) -> failure = "failure " + code + ": " + message;

    private Till(String library) {
        pinpad = Native.load(library, Pinpad.class);
        pinpad.pcl_exception_set_uncaught_handler(handler);
    }

    private void check() {
        String recorded = failure;
        failure = null;
        if (recorded != null) {
            throw new PinpadFailure(recorded);
        }
    }

    private void requireOk(String what, int result) {
        check();
        if (result != OK) {
            throw new PinpadFailure("result " + result + " of " + what);
        }
    }

    private void waitForAnswer(String what, IntSupplier poll) {
        int result = NO_ANSWER;
        for (int polls = 0;
            polls < MAX_POLLS && (result == NO_ANSWER || result == NOTIFICATION); ++polls) {
            result = poll.getAsInt();
        }
        requireOk(what, result);
    }

    private void takeLoyaltyNumber() {
        pinpad.abecsGetClearData(PROMPT_LOYALTY_NUMBER, (byte) 5, (byte) 11, PATIENCE_SECONDS);
        check();
        byte[] number = new byte[CLEAR_DATA_SIZE];
        byte[] notification = new byte[NOTIFICATION_SIZE];
        waitForAnswer("abecsGetClearDataResponse", () -> {
            int result = pinpad.abecsGetClearDataResponse(number, notification);
            if (result == NOTIFICATION) {
                System.out.println("the PIN pad says: " + Native.toString(notification));
            }
            return result;
        });
        System.out.println("loyalty number: " + Native.toString(number));
    }

    private void showQrCode() {
        pinpad.taviskQRCode(PATIENCE_SECONDS, (byte) '1', "PAY HERE", "https://example.com/pay/42");
        check();
        ByteByReference outcome = new ByteByReference();
        waitForAnswer("taviskQRCode_response", () -> pinpad.taviskQRCode_response(outcome));
        System.out.println("QR code: " + (char) outcome.getValue());
    }

    private void runSurvey() {
        pinpad.taviskSURVEY_Start(1, PATIENCE_SECONDS, (byte) 12, (byte) 0, "HOW WAS IT?",
            (byte) 0, "1 TO 9");
        check();
        byte[] answer = new byte[SURVEY_ANSWER_SIZE];
        waitForAnswer("taviskSURVEY_Get", () -> pinpad.taviskSURVEY_Get(answer));
        System.out.println("survey: " + Native.toString(answer));
    }

    private void serveCustomer(String port) {
        requireOk("PP_Open", pinpad.PP_Open(port, (byte) 1));
        takeLoyaltyNumber();
        showQrCode();
        runSurvey();
        requireOk("PP_Close", pinpad.PP_Close("SEE YOU"));
        System.out.println("closed");
    }

    /** Serves one customer. */
    public static void main(String[] arguments) {
        if (arguments.length != 2) {
            System.err.println("usage: Till LIBRARY PORT");
            System.exit(2);
        }
        try {
            new Till(arguments[0]).serveCustomer(arguments[1]);
        } catch (PinpadFailure caught) {
            System.out.println(caught.getMessage());
            System.exit(1);
        }
    }
}
