#include "serial/list_posix.h"

#include "core/guard.h"
#include "core/list.h"
#include "serial/serial.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace fs = std::filesystem;

namespace {

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

/// Takes the number that the text begins with off it, without its leading zeros.
std::string_view takeNumber(std::string_view &text) {
    const std::size_t length = static_cast<std::size_t>(
        std::find_if_not(text.begin(), text.end(), isDigit) - text.begin());
    std::string_view number = text.substr(0, length);
    text.remove_prefix(length);
    number.remove_prefix(std::min(number.find_first_not_of('0'), number.size()));
    return number;
}

/// Orders numbers inside names by their value.
bool naturallyBefore(std::string_view left, std::string_view right) {
    const std::string_view wholeLeft = left;
    const std::string_view wholeRight = right;
    while (!left.empty() && !right.empty()) {
        if (isDigit(left.front()) && isDigit(right.front())) {
            const std::string_view leftNumber = takeNumber(left);
            const std::string_view rightNumber = takeNumber(right);
            if (leftNumber.size() != rightNumber.size()) {
                return leftNumber.size() < rightNumber.size();
            }
            if (leftNumber != rightNumber) {
                return leftNumber < rightNumber;
            }
        } else if (left.front() != right.front()) {
            return left.front() < right.front();
        } else {
            left.remove_prefix(1);
            right.remove_prefix(1);
        }
    }
    if (left.empty() != right.empty()) {
        return left.empty();
    }
    return wholeLeft < wholeRight;
}

/// The platform reserves names for UARTs that it did not find; their type is 0.
bool isUnknownUart(const fs::path &entry) {
    std::ifstream file(entry / "type");
    int type = 0;
    return file >> type && type == 0;
}

bool isPort(const fs::path &entry) {
    std::error_code ignored;
    return fs::exists(entry / "device", ignored) && !isUnknownUart(entry);
}

std::vector<std::string> portNames(const fs::path &folder) {
    std::vector<std::string> names;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
        if (isPort(entry->path())) {
            names.push_back(entry->path().filename().string());
        }
    }
    std::sort(names.begin(), names.end(), naturallyBefore);
    return names;
}

} // namespace

void pcl_serial_list_folder(PclList *out, const char *folder) {
    pcl_guarded([&] {
        if (out == nullptr) {
            pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'out' is NULL");
            return;
        }
        pcl_list_clear(out);
        for (const std::string &name : portNames(folder)) {
            pcl_list_append(out, name.c_str());
        }
    });
}

void pcl_serial_list(PclList *out) {
    pcl_serial_list_folder(out, "/sys/class/tty");
}
