#include "cli/trace/trace.h"

#include "cli/problem.h"
#include "cli/terminal.h"
#include "cli/trace/abecs_frame.h"
#include "cli/trace/control.h"
#include "cli/trace/extension_frame.h"
#include "cli/trace/layout.h"
#include "cli/trace/opaque.h"

#include <cerrno>
#include <chrono>
#include <ctime>
#include <system_error>

namespace cli {

namespace {

using std::chrono::duration_cast;
using std::chrono::milliseconds;
using std::chrono::system_clock;

using TellFrame = Told (*)(const AbecsLinkEvent &, bool reveal);

// How frames of each framing are described; others are shown as bytes.
constexpr struct {
    AbecsLinkFraming_e framing;
    TellFrame tell;
} FRAMINGS[] = {{ABECS_LINK_STANDARD, tellAbecsFrame}, {ABECS_LINK_EXTENSION, tellExtensionFrame}};

std::string timeNow() {
    const system_clock::time_point now = system_clock::now();
    const std::time_t seconds = system_clock::to_time_t(now);
    const auto millis =
        duration_cast<milliseconds>(now - system_clock::from_time_t(seconds)).count();
    std::tm parts{};
#if defined(_WIN32)
    localtime_s(&parts, &seconds);
#else
    localtime_r(&seconds, &parts);
#endif
    char date[32];
    std::strftime(date, sizeof date, "%Y-%m-%d %H:%M:%S", &parts);
    char text[48];
    std::snprintf(text, sizeof text, "%s.%03d ", date, static_cast<int>(millis));
    return text;
}

// A trace into a file of its own.
class FileTrace : public Trace {
public:
    FileTrace(std::FILE *file, Style style) : Trace(file, style), m_file(file) {}

    std::string finish() override {
        Trace::finish();
        if (m_file != nullptr) {
            errno = 0;
            check(std::fclose(m_file.release()) == 0);
        }
        return Trace::finish();
    }

private:
    struct Closer {
        void operator()(std::FILE *file) const { std::fclose(file); }
    };
    std::unique_ptr<std::FILE, Closer> m_file;
};

} // namespace

Trace::Trace(std::FILE *out, Style style) : m_out(out), m_style(style) {
    abecs_link_set_observer(&Trace::observe, this);
}

Trace::~Trace() {
    abecs_link_set_observer(nullptr, nullptr);
}

std::string Trace::finish() {
    abecs_link_set_observer(nullptr, nullptr);
    return m_loss;
}

void Trace::check(bool written) {
    if (!written && m_loss.empty()) {
        m_loss = std::generic_category().message(errno);
    }
}

void Trace::observe(void *context, const AbecsLinkEvent *event) {
    static_cast<Trace *>(context)->write(*event);
}

void Trace::write(const AbecsLinkEvent &event) {
    const std::string time = m_style.times ? timeNow() : "";
    const char *direction = event.direction == ABECS_LINK_TO_DEVICE ? "-> " : "<- ";
    const std::string text = layOut(time + direction, tell(event));
    errno = 0;
    const std::size_t written = std::fwrite(text.data(), 1, text.size(), m_out);
    check(std::fflush(m_out) == 0 && written == text.size());
}

Told Trace::tell(const AbecsLinkEvent &event) const {
    switch (event.kind) {
    case ABECS_LINK_FRAME:
        return tellFrame(event);
    case ABECS_LINK_DAMAGED:
        return tellOpaque("damaged frame", event, m_style.secrets);
    case ABECS_LINK_BYTE:
        return tellByte(event, m_style.secrets);
    case ABECS_LINK_SILENCE:
        return {{"nothing came in time", {}, 0}, {}};
    case ABECS_LINK_DISCARDED:
        return tellOpaque("thrown away", event, m_style.secrets);
    }
    return {};
}

Told Trace::tellFrame(const AbecsLinkEvent &event) const {
    for (const auto &known : FRAMINGS) {
        if (known.framing == event.framing) {
            return known.tell(event, m_style.secrets);
        }
    }
    return tellOpaque("frame of another framing", event, m_style.secrets);
}

std::unique_ptr<Trace> makeTrace(const Settings &settings) {
    if (!settings.trace) {
        return nullptr;
    }
    const Trace::Style style{!settings.tracePlain, settings.traceSecrets};
    if (settings.traceFile.empty()) {
        return std::make_unique<Trace>(stderr, style);
    }
    try {
        return std::make_unique<FileTrace>(openPrivateFile(settings.traceFile), style);
    } catch (const std::runtime_error &error) {
        throw UsageError("Cannot write the trace to " + settings.traceFile + ": " + error.what() +
                         ".");
    }
}

} // namespace cli
