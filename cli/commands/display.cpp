#include "cli/commands/display.h"

#include "abecs/commands/display.h"
#include "cli/media_name.h"
#include "cli/text.h"
#include "cli/text_list.h"

namespace cli {

namespace {

constexpr std::size_t TEXT_MAX = 160;

} // namespace

void DisplayCommand::declareArguments(CLI::App &app) {
    m_textOption = app.add_option("TEXT", m_text, "The text; \\n begins a new line");
    app.add_flag("--clear", m_clear, "Clear the display");
}

void DisplayCommand::prepare() {
    if ((m_textOption->count() > 0) == m_clear) {
        throw UsageError("Give either a text or --clear.");
    }
    m_message = toDevice(m_text, "text", TEXT_MAX, LineBreaks::Allowed);
}

void DisplayCommand::run(Context &context) {
    context.device.run([&](AbecsPinpad *pinpad) { return abecs_dex(pinpad, m_message.c_str()); });
    context.output.result(m_clear ? "The display is clear." : "The text is on the display.",
                          Json{{"text", fromDevice(m_message)}});
}

void ImageCommand::declareArguments(CLI::App &app) {
    app.add_option("NAME", m_name, "Name of the image in the PIN pad, 1 to 8 characters")
        ->required();
}

void ImageCommand::prepare() {
    m_deviceName = mediaName(m_name, MediaNameCharacters::Ascii);
}

void ImageCommand::run(Context &context) {
    context.device.run(
        [&](AbecsPinpad *pinpad) { return abecs_dsi(pinpad, m_deviceName.c_str()); });
    context.output.result("The image " + m_name + " is on the display.", Json{{"image", m_name}});
}

void PlayCommand::declareArguments(CLI::App &app) {
    app.add_option("NAME", m_names, "Names of media files in the PIN pad, 1 to 8 characters")
        ->required();
}

void PlayCommand::prepare() {
    for (const std::string &name : m_names) {
        m_deviceNames.push_back(mediaName(name, MediaNameCharacters::Latin));
    }
}

void PlayCommand::run(Context &context) {
    TextList files;
    for (const std::string &name : m_deviceNames) {
        files.add(name);
    }
    context.device.run([&](AbecsPinpad *pinpad) { return abecs_dmf(pinpad, files.get()); });
    std::string text = "The PIN pad shows:";
    for (const std::string &name : m_names) {
        text += " " + name;
    }
    context.output.result(text, Json{{"media", m_names}});
}

} // namespace cli
