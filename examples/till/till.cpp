// A till in C++: takes a loyalty number, shows a QR code to pay with, asks how it was, closes.
// The handler throws: a failure leaves the library's function as an exception of the till's own.
// usage: till_cpp PORT
#include "pinpad/pinpad.h"

#include <array>
#include <iostream>
#include <stdexcept>
#include <string>

namespace {

constexpr uint16_t prompt_loyalty_number = 3;
constexpr uint8_t patience_seconds = 30;
constexpr int max_polls = 30;

class PinpadFailure : public std::runtime_error {
public:
    PinpadFailure(int32_t code, const char *message)
        : std::runtime_error("failure " + std::to_string(code) + ": " +
                             (message == nullptr ? "" : message)) {}
};

void PINPAD_CALL on_failure(int32_t code, const char *message) {
    throw PinpadFailure(code, message);
}

void require_ok(const std::string &what, int32_t result) {
    if (result != PINPAD_OK) {
        throw std::runtime_error("result " + std::to_string(result) + " of " + what);
    }
}

// Polls until there is a final answer, which must be yes.
template <class Poll>
void wait_for_answer(const std::string &what, Poll poll) {
    int32_t result = PINPAD_NO_ANSWER;
    for (int polls = 0;
         polls < max_polls && (result == PINPAD_NO_ANSWER || result == PINPAD_NOTIFICATION);
         ++polls) {
        result = poll();
    }
    require_ok(what, result);
}

void take_loyalty_number() {
    abecsGetClearData(prompt_loyalty_number, 5, 11, patience_seconds);
    std::array<char, PINPAD_CLEAR_DATA_SIZE> number{};
    wait_for_answer("abecsGetClearDataResponse", [&] {
        std::array<char, PINPAD_NOTIFICATION_SIZE> notification{};
        const int32_t result = abecsGetClearDataResponse(number.data(), notification.data());
        if (result == PINPAD_NOTIFICATION) {
            std::cout << "the PIN pad says: " << notification.data() << '\n';
        }
        return result;
    });
    std::cout << "loyalty number: " << number.data() << '\n';
}

void show_qr_code() {
    taviskQRCode(patience_seconds, '1', "PAY HERE", "https://example.com/pay/42");
    uint8_t outcome = 0;
    wait_for_answer("taviskQRCode_response", [&] { return taviskQRCode_response(&outcome); });
    std::cout << "QR code: " << static_cast<char>(outcome) << '\n';
}

void run_survey() {
    taviskSURVEY_Start(1, patience_seconds, 12, 0, "HOW WAS IT?", 0, "1 TO 9");
    std::array<char, PINPAD_SURVEY_ANSWER_SIZE> answer{};
    wait_for_answer("taviskSURVEY_Get", [&] { return taviskSURVEY_Get(answer.data()); });
    std::cout << "survey: " << answer.data() << '\n';
}

void serve_customer(const char *port) {
    require_ok("PP_Open", PP_Open(port, 1));
    take_loyalty_number();
    show_qr_code();
    run_survey();
    require_ok("PP_Close", PP_Close("SEE YOU"));
    std::cout << "closed\n";
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 2) {
        std::cerr << "usage: " << argv[0] << " PORT\n";
        return 2;
    }
    pcl_exception_set_uncaught_handler(on_failure);
    try {
        serve_customer(argv[1]);
    } catch (const std::exception &failure) {
        std::cout << failure.what() << '\n';
        return 1;
    }
    return 0;
}
