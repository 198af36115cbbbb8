// The ways in which a host's failure handler may leave.

#include "tests/api/exports_fixture.h"

#include <csetjmp>
#include <pthread.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace {

class Handler : public Exports {
protected:
    void SetUp() override {
        Exports::SetUp();
        plugIn();
        open(1);
    }

    /// Whatever the handler did, the session goes on.
    void expectSessionWorks() {
        library.setHandler(record);
        library.getClearData(1, 1, 8, 0);
        device->press("7");
        device->press_key(sim::Key::enter);
        EXPECT_EQ(PINPAD_OK, library.getClearDataResponse(digits.data(), nullptr));
        EXPECT_STREQ("7", digits.data());
        EXPECT_EQ(PINPAD_OK, library.close("BYE"));
        EXPECT_EQ("", lastMessage);
    }
};

TEST_F(Handler, MayReturn) {
    const std::size_t sent = device->host_bytes().size();
    EXPECT_EQ(PINPAD_FAILED, library.getClearDataResponse(digits.data(), nullptr));
    expectFailure(PINPAD_ERROR_ILLEGAL_STATE, "[PCL_RESULT_ILLEGAL_STATE] GCD was not sent yet");
    EXPECT_EQ(sent, device->host_bytes().size());
    expectSessionWorks();
}

struct HostError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

TEST_F(Handler, MayThrow) {
    library.setHandler([](std::int32_t, const char *message) { throw HostError(message); });
    for (int round = 0; round < 3; ++round) {
        try {
            library.getClearDataResponse(digits.data(), nullptr);
            FAIL() << "nothing was thrown";
        } catch (const HostError &error) {
            EXPECT_STREQ("[PCL_RESULT_ILLEGAL_STATE] GCD was not sent yet", error.what());
        }
        EXPECT_THROW(library.getClearData(1, 9, 8, 0), HostError);
    }
    expectSessionWorks();
}

std::jmp_buf wayOut;

TEST_F(Handler, MayJumpOutOfAnExport) {
    library.setHandler([](std::int32_t code, const char *) { std::longjmp(wayOut, code); });
    static int round;
    for (round = 0; round < 3; ++round) {
        const int code = setjmp(wayOut);
        if (code == 0) {
            library.getClearDataResponse(digits.data(), nullptr);
            FAIL() << "the handler was not called";
        }
        EXPECT_EQ(PINPAD_ERROR_ILLEGAL_STATE, code);
    }
    expectSessionWorks();
}

TEST_F(Handler, MayEndItsThread) {
    library.setHandler([](std::int32_t, const char *) { pthread_exit(nullptr); });
    pthread_t thread{};
    const auto call = [](void *poll) -> void * {
        char out[PINPAD_CLEAR_DATA_SIZE];
        (*static_cast<decltype(library.getClearDataResponse) *>(poll))(out, nullptr);
        ADD_FAILURE() << "the thread went on";
        return nullptr;
    };
    ASSERT_EQ(0, pthread_create(&thread, nullptr, call, &library.getClearDataResponse));
    ASSERT_EQ(0, pthread_join(thread, nullptr));
    expectSessionWorks();
}

TEST_F(Handler, MayBeMissing) {
    int output[2];
    ASSERT_EQ(0, pipe(output));
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        dup2(output[1], STDOUT_FILENO);
        library.setHandler(nullptr);
        library.getClearDataResponse(digits.data(), nullptr);
        _exit(0);
    }
    ::close(output[1]);
    std::string text;
    char buffer[256];
    for (ssize_t count = 0; (count = read(output[0], buffer, sizeof buffer)) > 0;) {
        text.append(buffer, static_cast<std::size_t>(count));
    }
    ::close(output[0]);
    int status = 0;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(SIGABRT, WTERMSIG(status));
    EXPECT_EQ("Uncaught error: 3 ([PCL_RESULT_ILLEGAL_STATE] GCD was not sent yet)\n", text);
    expectSessionWorks();
}

} // namespace
