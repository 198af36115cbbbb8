#include "cli/commands/close.h"

#include "abecs/commands/close.h"
#include "cli/media_name.h"
#include "cli/text.h"

namespace cli {

namespace {

constexpr std::size_t SHORT_MESSAGE_MAX = 32;
constexpr std::size_t LONG_MESSAGE_MAX = 128;

} // namespace

void CloseCommand::declareArguments(CLI::App &app) {
    m_textOption = app.add_option("MESSAGE", m_text,
                                  "The text, up to 32 characters; --idle-message when not given");
    app.add_option("--media", m_media, "Leave this stored media file on the display (extended)")
        ->type_name("NAME");
    app.add_flag("--extended", m_extended,
                 "Use the extended close: up to 128 characters, \\n begins a new line");
}

void CloseCommand::prepare() {
    m_extended = m_extended || !m_media.empty();
    if (!m_media.empty()) {
        m_mediaName = mediaName(m_media, MediaNameCharacters::Latin);
    }
    m_message = toDevice(m_text, "message", LONG_MESSAGE_MAX, LineBreaks::Allowed);
    const bool needsExtended =
        m_message.size() > SHORT_MESSAGE_MAX || m_message.find('\r') != std::string::npos;
    if (needsExtended && !m_extended) {
        throw UsageError("The message has line breaks or more than 32 characters: "
                         "use --extended.");
    }
}

void CloseCommand::run(Context &context) {
    const std::string &message =
        m_textOption->count() > 0 ? m_message : context.settings.idleMessage;
    context.device.closeWith([&](AbecsPinpad *pinpad) {
        return m_extended ? abecs_clx(pinpad, message.c_str(), m_mediaName.c_str())
                          : abecs_clo(pinpad, message.c_str());
    });
    context.output.result("The session is closed.",
                          Json{{"message", fromDevice(message)}, {"media", m_media}});
}

} // namespace cli
