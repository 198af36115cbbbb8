#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

// A connection to the server on this machine, byte by byte.
class Connection {
public:
    explicit Connection(std::uint16_t port);
    ~Connection();
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;

    // Ignores a connection that the server has closed.
    void write(const std::string &bytes) const;
    // Exactly so many bytes; throws std::runtime_error when the server hangs up or is too slow.
    std::string read(std::size_t count) const;
    std::string read_until(const std::string &end) const;
    std::string read_to_end() const;

private:
    int fd_;
};

// Sends a request as it is and returns all that comes until the server hangs up.
std::string ask_server(std::uint16_t port, const std::string &request);

// A page without a browser: a WebSocket that sends and takes whole text messages.
class WebClient {
public:
    // The headers tell where the page came from; throws std::runtime_error when the server does
    // not want it.
    WebClient(std::uint16_t port, const std::string &host, const std::string &origin);

    void send(const std::string &message) const;
    // Reads on until a message of this type for which the test holds. Throws std::runtime_error
    // when none comes in time or the server hangs up.
    nlohmann::json wait_for(
        const std::string &type, const std::function<bool(const nlohmann::json &)> &test =
                                     [](const nlohmann::json &) { return true; }) const;

private:
    std::string read_message() const;

    Connection connection_;
};
