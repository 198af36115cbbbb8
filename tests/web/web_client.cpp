#include "tests/web/web_client.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>

namespace {

constexpr int patience_milliseconds = 60000;
constexpr unsigned char text_frame = 0x81;
constexpr unsigned char close_frame = 0x88;
constexpr std::size_t short_length = 126;
constexpr std::size_t long_length = 127;

std::string bytes_of(std::size_t number, int count) {
    std::string bytes;
    for (int shift = 8 * (count - 1); shift >= 0; shift -= 8)
        bytes.push_back(static_cast<char>((number >> shift) & 0xFF));
    return bytes;
}

std::size_t number_of(const std::string &bytes) {
    std::size_t number = 0;
    for (char byte : bytes)
        number = (number << 8) | static_cast<unsigned char>(byte);
    return number;
}

} // namespace

Connection::Connection(std::uint16_t port) : fd_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(fd_, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) {
        ::close(fd_);
        throw std::runtime_error("cannot connect");
    }
}

Connection::~Connection() {
    ::close(fd_);
}

void Connection::write(const std::string &bytes) const {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t count = ::send(fd_, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
        if (count <= 0)
            return;
        done += static_cast<std::size_t>(count);
    }
}

std::string Connection::read(std::size_t count) const {
    std::string bytes(count, '\0');
    std::size_t done = 0;
    while (done < count) {
        pollfd readable{fd_, POLLIN, 0};
        if (::poll(&readable, 1, patience_milliseconds) <= 0)
            throw std::runtime_error("nothing came in time");
        const ssize_t now = ::recv(fd_, bytes.data() + done, count - done, 0);
        if (now <= 0)
            throw std::runtime_error("the server hung up");
        done += static_cast<std::size_t>(now);
    }
    return bytes;
}

std::string Connection::read_until(const std::string &end) const {
    std::string bytes;
    while (bytes.size() < end.size() ||
           bytes.compare(bytes.size() - end.size(), end.size(), end) != 0)
        bytes += read(1);
    return bytes;
}

std::string Connection::read_to_end() const {
    std::string bytes;
    try {
        while (true)
            bytes += read(1);
    } catch (const std::runtime_error &) {
        return bytes;
    }
}

std::string ask_server(std::uint16_t port, const std::string &request) {
    const Connection connection(port);
    connection.write(request);
    return connection.read_to_end();
}

WebClient::WebClient(std::uint16_t port, const std::string &host, const std::string &origin)
    : connection_(port) {
    connection_.write("GET /live HTTP/1.1\r\nHost: " + host +
                      (origin.empty() ? "" : "\r\nOrigin: " + origin) +
                      "\r\nUpgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Version: 13"
                      "\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n\r\n");
    const std::string answer = connection_.read_until("\r\n\r\n");
    if (answer.rfind("HTTP/1.1 101", 0) != 0)
        throw std::runtime_error("the server answers " + answer);
}

void WebClient::send(const std::string &message) const {
    constexpr std::size_t masked = 0x80;
    std::string head(1, static_cast<char>(text_frame));
    if (message.size() < short_length)
        head += bytes_of(masked | message.size(), 1);
    else if (message.size() <= 0xFFFF)
        head += bytes_of(masked | short_length, 1) + bytes_of(message.size(), 2);
    else
        head += bytes_of(masked | long_length, 1) + bytes_of(message.size(), 8);
    // A mask of zeros leaves the message as it is.
    connection_.write(head + std::string(4, '\0') + message);
}

std::string WebClient::read_message() const {
    const std::string head = connection_.read(2);
    std::size_t length = static_cast<unsigned char>(head[1]);
    if (length == short_length)
        length = number_of(connection_.read(2));
    else if (length == long_length)
        length = number_of(connection_.read(8));
    const std::string content = connection_.read(length);
    const auto kind = static_cast<unsigned char>(head[0]);
    if (kind == close_frame)
        throw std::runtime_error("the server hung up");
    if (kind != text_frame)
        throw std::runtime_error("the server sent no whole text");
    return content;
}

nlohmann::json WebClient::wait_for(const std::string &type,
                                   const std::function<bool(const nlohmann::json &)> &test) const {
    const auto end =
        std::chrono::steady_clock::now() + std::chrono::milliseconds(patience_milliseconds);
    while (std::chrono::steady_clock::now() < end) {
        nlohmann::json message = nlohmann::json::parse(read_message());
        if (message.at("type") == type && test(message))
            return message;
    }
    throw std::runtime_error("no message of type " + type + " came in time");
}
