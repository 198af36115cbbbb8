#include "cli/commands/media.h"

#include "abecs/commands/display.h"
#include "abecs/commands/media.h"
#include "cli/help_format.h"
#include "cli/interrupt.h"
#include "cli/media_name.h"
#include "cli/progress.h"
#include "cli/text.h"
#include "cli/text_list.h"

#include <algorithm>
#include <filesystem>

namespace cli {

namespace {

constexpr unsigned TYPE_MAX = 255;

// The name under which a file is stored when none is given: that of the file up to its first dot.
std::string nameFor(const std::string &file) {
    const std::string whole = std::filesystem::path(file).filename().string();
    const std::string stem = whole.substr(0, whole.find('.'));
    try {
        return mediaName(stem, MediaNameCharacters::Ascii);
    } catch (const UsageError &error) {
        throw UsageError(file + ": no name for the PIN pad can be made of this. " + error.what() +
                         " Give one with --as.");
    }
}

// Passes through the library on Ctrl-C, which ends the load between two records.
void onProgress(void *context, std::uint64_t sent, std::uint64_t total) {
    static_cast<Progress *>(context)->advance(sent, total);
    throwIfInterrupted();
}

} // namespace

void MediaListCommand::run(Context &context) {
    TextList stored;
    context.device.run([&](AbecsPinpad *pinpad) { return abecs_lmf(pinpad, stored.get()); });
    std::vector<std::string> names;
    std::vector<std::string> lines;
    for (const std::string &name : stored.texts()) {
        names.push_back(fromDevice(name));
        lines.push_back(fromDeviceVisibly(name));
    }
    const std::vector<std::string> none = {"The PIN pad has no media files."};
    context.output.lines(lines.empty() ? none : lines, Json{{"media", names}});
}

void MediaLoadCommand::declareArguments(CLI::App &app) {
    app.add_option("FILE", m_files, "The files to load")
        ->required()
        ->check(quietly(CLI::ExistingFile))
        ->type_name("");
    app.add_option("--as", m_names,
                   "Name in the PIN pad, 1 to 8 characters, once for each file; the name of the "
                   "file when not given")
        ->type_name("NAME")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    app.add_option("--type", m_type, "Type of the media, a number that the PIN pad knows")
        ->check(upTo(TYPE_MAX))
        ->type_name("T")
        ->capture_default_str();
}

void MediaLoadCommand::prepare() {
    if (!m_names.empty() && m_names.size() != m_files.size()) {
        throw UsageError("Give --as once for each file, or not at all.");
    }
    if (m_names.empty()) {
        std::transform(m_files.begin(), m_files.end(), std::back_inserter(m_names), nameFor);
    }
    for (std::string &name : m_names) {
        name = upperCase(mediaName(name, MediaNameCharacters::Ascii));
    }
}

void MediaLoadCommand::run(Context &context) {
    for (std::size_t i = 0; i < m_files.size(); ++i) {
        load(context, m_files[i], m_names[i]);
    }
}

void MediaLoadCommand::load(Context &context, const std::string &file, const std::string &name) {
    Progress progress(file, progressStyle(context.settings));
    callLibrary(Stage::Command, [&] {
        abecsMediaLoad(context.device.session(), file.c_str(), name.c_str(),
                       static_cast<std::uint8_t>(m_type), onProgress, &progress);
    });
    progress.finish();
    context.output.result("Loaded " + file + " as " + name + ", " +
                              std::to_string(progress.total()) + " bytes.",
                          Json{{"file", file}, {"name", name}, {"bytes", progress.total()}});
}

} // namespace cli
