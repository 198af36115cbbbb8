#include "cli/commands/qr.h"

#include "abecs/packet.h"
#include "cli/help_format.h"
#include "cli/qr_drawing.h"
#include "cli/terminal.h"
#include "cli/text.h"
#include "ext/qrcode.h"

namespace cli {

namespace {

constexpr std::size_t LINE_MAX_LENGTH = 20;
constexpr unsigned LINE_TYPE_MAX = 2;
constexpr unsigned QR_WAIT_MAX = 999;
// What stands in the command before the two texts.
constexpr std::size_t COMMAND_HEAD = 14;
constexpr std::size_t TEXTS_MAX = ABECS_PACKET_CAPACITY - COMMAND_HEAD;

} // namespace

void QrCommand::declareArguments(CLI::App &app) {
    app.add_option("TEXT", m_typedText, "What the code says")->type_name("")->required();
    app.add_option("--line", m_typedLine, "A line of text beside it, up to 20 characters")
        ->type_name("TEXT");
    app.add_option("--line-type", m_lineType, "How the PIN pad shows the line, 0 to 2")
        ->check(upTo(LINE_TYPE_MAX))
        ->type_name("N")
        ->capture_default_str();
    app.add_option("--wait", m_wait,
                   "Seconds after which the PIN pad gives up, 0 for its own choice")
        ->check(upTo(QR_WAIT_MAX))
        ->type_name("SECONDS")
        ->capture_default_str();
}

void QrCommand::prepare() {
    m_line = toDevice(m_typedLine, "line", LINE_MAX_LENGTH, LineBreaks::Refused);
    m_text = toDevice(m_typedText, "text", TEXTS_MAX - m_line.size(), LineBreaks::Refused);
}

void QrCommand::draw(const Context &context) const {
    if (context.settings.json) {
        return;
    }
    const QrModules modules = makeQrCode(m_text);
    const bool onTerminal = isTerminal(Stream::Output);
    // Without a terminal on standard error the width is not known.
    if (onTerminal && isTerminal(Stream::Error) && qrColumns(modules) > errorColumns()) {
        context.output.lines({"The code is wider than this terminal and not shown here."}, {});
        return;
    }
    std::string drawing;
    for (const std::string &line : drawQrCode(modules, onTerminal ? Ink::Black : Ink::OfText)) {
        drawing += line + "\n";
    }
    context.output.text(drawing);
}

void QrCommand::run(Context &context) {
    callLibrary(Stage::Command, [&] {
        abecs_qr_start(context.device.session(), m_wait, static_cast<char>('0' + m_lineType),
                       m_line.size(), m_line.c_str(), m_text.size(), m_text.c_str());
    });
    draw(context);
    std::uint8_t result = 0;
    context.device.waitForAnswer(
        [&](AbecsPinpad *pinpad) { return abecs_qr_response(pinpad, &result); });
    const std::string answer(1, static_cast<char>(result));
    context.output.result("Result: " + fromDeviceVisibly(answer),
                          Json{{"result", fromDevice(answer)}});
}

} // namespace cli
