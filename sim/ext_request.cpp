#include "sim/ext_request.h"

#include "sim/text.h"

namespace sim {

std::string FieldReader::text(std::size_t size) {
    if (left() < size) {
        throw BadField("a field is cut");
    }
    std::string taken = to_text(bytes_).substr(next_, size);
    next_ += size;
    return taken;
}

std::size_t FieldReader::number(std::size_t digits) {
    const auto value = read_decimal(text(digits));
    if (!value) {
        throw BadField("a number has other characters than digits");
    }
    return *value;
}

char FieldReader::choice(const std::string &allowed) {
    const char taken = text(1).front();
    if (allowed.find(taken) == std::string::npos) {
        throw BadField(std::string("expected one of ") + allowed);
    }
    return taken;
}

Bytes FieldReader::hex(std::size_t size) {
    const auto value = from_hex(text(2 * size));
    if (!value) {
        throw BadField("expected hexadecimal digits");
    }
    return *value;
}

std::string FieldReader::rest() {
    return text(left());
}

void FieldReader::end() const {
    if (left() != 0) {
        throw BadField("something follows the last field");
    }
}

} // namespace sim
