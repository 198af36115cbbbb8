#include "sim/web/access.h"

#include <boost/asio/ip/address.hpp>

#include <utility>

namespace sim::web {

namespace {

using boost::asio::ip::make_address;

std::string lower(std::string_view text) {
    std::string lowered(text);
    for (char &c : lowered) {
        if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c - 'A' + 'a');
        }
    }
    return lowered;
}

// Takes the brackets off an IPv6 address.
std::string bare(const std::string &name) {
    const bool bracketed = name.size() > 2 && name.front() == '[' && name.back() == ']';
    return bracketed ? name.substr(1, name.size() - 2) : name;
}

} // namespace

Access::Access(std::string address, std::uint16_t port)
    : address_(std::move(address)), port_(port) {}

bool Access::host_allowed(std::string_view host) const {
    constexpr std::uint16_t port_left_out = 80;
    const std::string suffix = ":" + std::to_string(port_);
    const std::string text = lower(host);
    if (text.size() > suffix.size() &&
        text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0) {
        return name_allowed(text.substr(0, text.size() - suffix.size()));
    }
    return port_ == port_left_out && name_allowed(text);
}

bool Access::name_allowed(const std::string &name) const {
    if (name == "localhost" || name == "127.0.0.1" || name == "[::1]") {
        return true;
    }
    boost::system::error_code error;
    const auto named = make_address(bare(name), error);
    if (error || (named.is_v6() && name.front() != '[')) {
        return false;
    }
    const auto bound = make_address(address_, error);
    return !error && (bound.is_unspecified() || bound == named);
}

bool Access::origin_allowed(std::string_view origin, std::string_view host) {
    return lower(origin) == "http://" + lower(host);
}

} // namespace sim::web
