// A till in C#: takes a loyalty number, shows a QR code to pay with, asks how it was, closes.
// No managed exception may leave the handler: it records the failure, and Check throws it after the
// library's function has returned.
// usage: mono Till.exe PORT, with libpinpad.so.1 where the loader finds it
using System;
using System.Runtime.InteropServices;
using System.Text;

static class Pinpad {
    const string Library = "libpinpad.so.1";
    const CallingConvention Convention = CallingConvention.Winapi;

    [UnmanagedFunctionPointer(Convention)]
    public delegate void FailureHandler(int code, IntPtr message);

    [DllImport(Library, CallingConvention = Convention)]
    public static extern void pcl_exception_set_uncaught_handler(FailureHandler handler);

    [DllImport(Library, CallingConvention = Convention, CharSet = CharSet.Ansi)]
    public static extern int PP_Open(string portName, byte secure);

    [DllImport(Library, CallingConvention = Convention, CharSet = CharSet.Ansi)]
    public static extern int PP_Close(string message);

    [DllImport(Library, CallingConvention = Convention)]
    public static extern void abecsGetClearData(ushort promptId, byte minDig, byte maxDig,
                                                byte timeoutSeconds);

    [DllImport(Library, CallingConvention = Convention)]
    public static extern int abecsGetClearDataResponse([Out] byte[] output,
                                                       [Out] byte[] notification);

    [DllImport(Library, CallingConvention = Convention, CharSet = CharSet.Ansi)]
    public static extern void taviskQRCode(ulong timeout, byte lineType, string line,
                                           string qrCode);

    [DllImport(Library, CallingConvention = Convention)]
    public static extern int taviskQRCode_response(out byte result);

    [DllImport(Library, CallingConvention = Convention, CharSet = CharSet.Ansi)]
    public static extern void taviskSURVEY_Start(uint code, ushort timeout, byte screenStyle,
                                                 byte topType, string topData, byte bottomType,
                                                 string bottomData);

    [DllImport(Library, CallingConvention = Convention)]
    public static extern int taviskSURVEY_Get([Out] byte[] answer);
}

class PinpadFailure : Exception {
    public PinpadFailure(string message) : base(message) {
    }
}

static class Till {
    const int Ok = 0, NoAnswer = -1, Notification = -2;
    const int ClearDataSize = 1000, NotificationSize = 33, SurveyAnswerSize = 4;
    const ushort PromptLoyaltyNumber = 3;
    const byte PatienceSeconds = 30;
    const int MaxPolls = 30;

    // Kept here: the collector must not take the delegate from under the library.
    static readonly Pinpad.FailureHandler handler = OnFailure;
    static string failure;

    static void OnFailure(int code, IntPtr message) {
        failure = "failure " + code + ": " + Marshal.PtrToStringAnsi(message);
    }

    static void Check() {
        string recorded = failure;
        failure = null;
        if (recorded != null) {
            throw new PinpadFailure(recorded);
        }
    }

    static void RequireOk(string what, int result) {
        Check();
        if (result != Ok) {
            throw new PinpadFailure("result " + result + " of " + what);
        }
    }

    static string Text(byte[] buffer) {
        int end = Array.IndexOf(buffer, (byte)0);
        return Encoding.GetEncoding("iso-8859-1").GetString(buffer, 0, end);
    }

    static void WaitForAnswer(string what, Func<int> poll) {
        int result = NoAnswer;
        for (int polls = 0;
             polls < MaxPolls && (result == NoAnswer || result == Notification); ++polls) {
            result = poll();
        }
        RequireOk(what, result);
    }

    static void TakeLoyaltyNumber() {
        Pinpad.abecsGetClearData(PromptLoyaltyNumber, 5, 11, PatienceSeconds);
        Check();
        byte[] number = new byte[ClearDataSize];
        byte[] notification = new byte[NotificationSize];
        WaitForAnswer("abecsGetClearDataResponse", () => {
            int result = Pinpad.abecsGetClearDataResponse(number, notification);
            if (result == Notification) {
                Console.WriteLine("the PIN pad says: " + Text(notification));
            }
            return result;
        });
        Console.WriteLine("loyalty number: " + Text(number));
    }

    static void ShowQrCode() {
        Pinpad.taviskQRCode(PatienceSeconds, (byte)'1', "PAY HERE", "https://example.com/pay/42");
        Check();
        byte outcome = 0;
        WaitForAnswer("taviskQRCode_response", () => Pinpad.taviskQRCode_response(out outcome));
        Console.WriteLine("QR code: " + (char)outcome);
    }

    static void RunSurvey() {
        Pinpad.taviskSURVEY_Start(1, PatienceSeconds, 12, 0, "HOW WAS IT?", 0, "1 TO 9");
        Check();
        byte[] answer = new byte[SurveyAnswerSize];
        WaitForAnswer("taviskSURVEY_Get", () => Pinpad.taviskSURVEY_Get(answer));
        Console.WriteLine("survey: " + Text(answer));
    }

    static int Main(string[] arguments) {
        if (arguments.Length != 1) {
            Console.Error.WriteLine("usage: Till PORT");
            return 2;
        }
        Pinpad.pcl_exception_set_uncaught_handler(handler);
        try {
            RequireOk("PP_Open", Pinpad.PP_Open(arguments[0], 1));
            TakeLoyaltyNumber();
            ShowQrCode();
            RunSurvey();
            RequireOk("PP_Close", Pinpad.PP_Close("SEE YOU"));
        } catch (PinpadFailure caught) {
            Console.WriteLine(caught.Message);
            return 1;
        }
        Console.WriteLine("closed");
        return 0;
    }
}
