// A till in C++: takes a loyalty number, shows a QR code to pay with, asks how it was, closes.
// The handler throws: a failure leaves the library's function as an exception of the till's own.
// The line "cancel" on standard input stops asking the customer.
// usage: till_cpp PORT
#include "pinpad/pinpad.h"

#include <array>
#include <atomic>
#include <exception>
#include <iostream>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>

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

class Cancelled : public std::exception {};

// Lets the cashier, on a thread of their own, end what the till's thread asks the customer.
class Cancelling {
public:
    bool cancelled() const { return cancelled_; }

    // On the cashier's thread: the device stops at once. Its answer may reach the poll in place of
    // this call, which then fails, with the command still pending.
    void cancel() {
        const std::lock_guard<std::mutex> lock(mutex_);
        cancelled_ = true;
        if (asking_) {
            try {
                PP_Abort();
            } catch (const PinpadFailure &) {
            }
        }
    }

    // On the till's thread: asks, and throws Cancelled when the cashier does not want the answer.
    template <class Question>
    void ask(Question question) {
        begin();
        std::exception_ptr failure;
        try {
            question();
        } catch (...) {
            failure = std::current_exception();
        }
        end();
        if (failure) {
            std::rethrow_exception(failure);
        }
    }

private:
    void begin() {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (cancelled_) {
            throw Cancelled();
        }
        asking_ = true;
    }

    // The cashier's abort is over, and nobody else reads the line: this one gets its answer.
    void end() {
        const std::lock_guard<std::mutex> lock(mutex_);
        asking_ = false;
        if (cancelled_) {
            PP_Abort();
            throw Cancelled();
        }
    }

    std::mutex mutex_;
    std::atomic<bool> cancelled_{false};
    bool asking_ = false;
};

Cancelling cancelling;

void listen_to_cashier() {
    for (std::string line; std::getline(std::cin, line);) {
        if (line == "cancel") {
            cancelling.cancel();
        }
    }
}

// Polls until there is a final answer, which must be yes.
template <class Poll>
void wait_for_answer(const std::string &what, Poll poll) {
    int32_t result = PINPAD_NO_ANSWER;
    for (int polls = 0; polls < max_polls && !cancelling.cancelled() &&
                        (result == PINPAD_NO_ANSWER || result == PINPAD_NOTIFICATION);
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
    try {
        cancelling.ask(take_loyalty_number);
        cancelling.ask(show_qr_code);
        cancelling.ask(run_survey);
    } catch (const Cancelled &) {
        std::cout << "cancelled\n";
    }
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
    std::thread(listen_to_cashier).detach();
    try {
        serve_customer(argv[1]);
    } catch (const std::exception &failure) {
        std::cout << failure.what() << '\n';
        return 1;
    }
    return 0;
}
