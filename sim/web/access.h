#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace sim::web {

// Decides whose requests are served. A page of another site can make a browser send requests here,
// and that site's name server can give its name this machine's address; the headers Host and Origin
// show either.
class Access {
public:
    // The address that the server is bound to, as a number ("127.0.0.1", "::1", "0.0.0.0"), and
    // its port.
    Access(std::string address, std::uint16_t port);

    // Whether the header names this server: localhost, 127.0.0.1, [::1] or the address it is bound
    // to, with its port. Bound to every address, it goes by any address but by no other name.
    bool host_allowed(std::string_view host) const;

    // Whether a page of this origin may talk to the server that it calls by this host.
    static bool origin_allowed(std::string_view origin, std::string_view host);

private:
    bool name_allowed(const std::string &name) const;

    std::string address_;
    std::uint16_t port_;
};

} // namespace sim::web
