#include "cli/media_name.h"

#include "abecs/commands/media_name.h"
#include "cli/problem.h"
#include "cli/text.h"

#include <algorithm>

namespace cli {

std::string mediaName(const std::string &name, MediaNameCharacters characters) {
    if (name.empty()) {
        throw UsageError("The name of a media file is empty.");
    }
    std::string bytes =
        toDevice(name, "name of a media file", ABECS_MEDIA_NAME_SIZE, LineBreaks::Refused);
    const bool isAscii = std::all_of(bytes.begin(), bytes.end(),
                                     [](char byte) { return byte >= 0x20 && byte < 0x7F; });
    if (characters == MediaNameCharacters::Ascii && !isAscii) {
        throw UsageError("The name of this media file must be ASCII: " + name);
    }
    return bytes;
}

} // namespace cli
