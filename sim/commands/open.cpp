#include "sim/commands/commands.h"
#include "sim/key_exchange.h"
#include "sim/text.h"

#include <memory>
#include <stdexcept>
#include <string_view>

namespace sim::commands {

namespace {

constexpr std::size_t modulus_size = 256;
constexpr std::size_t modulus_digits = 2 * modulus_size;
constexpr std::size_t exponent_digits = 6;
constexpr std::size_t request_size = 1 + 3 + modulus_digits + 1 + exponent_digits;

bool upper_case_hex(std::string_view text) {
    return text.find_first_not_of("0123456789ABCDEF") == std::string_view::npos;
}

// The host's key out of the one block of a secure OPN.
std::shared_ptr<const RsaPublicKey> read_host_key(const Bytes &rest) {
    const std::vector<Bytes> blocks = read_blocks(rest);
    if (blocks.size() != 1 || blocks.front().size() != request_size) {
        throw Refusal(status::invalid_parameter);
    }
    const std::string block = to_text(blocks.front());
    const std::string_view fields(block);
    const std::string_view modulus = fields.substr(4, modulus_digits);
    const auto exponent_size = read_decimal(fields.substr(4 + modulus_digits, 1));
    const std::string_view exponent = fields.substr(5 + modulus_digits);
    const bool well_formed = fields.substr(0, 4) == "0256" && exponent_size &&
                             *exponent_size >= 1 && *exponent_size <= exponent_digits / 2 &&
                             upper_case_hex(modulus) && upper_case_hex(exponent);
    if (!well_formed) {
        throw Refusal(status::invalid_parameter);
    }
    try {
        return std::make_shared<RsaPublicKey>(
            *from_hex(modulus), *from_hex(exponent.substr(exponent_digits - 2 * *exponent_size)));
    } catch (const std::invalid_argument &) {
        throw Refusal(status::invalid_parameter);
    }
}

KeyBlockShape block_shape(const Fault &fault) {
    KeyBlockShape shape;
    if (fault.kind == FaultKind::opn_block_type) {
        shape.type = static_cast<std::uint8_t>(fault.number);
    }
    if (fault.kind == FaultKind::opn_block_head) {
        shape.head = static_cast<std::uint8_t>(fault.number);
    }
    shape.separator = fault.kind != FaultKind::opn_no_separator;
    return shape;
}

std::string hex_field(const Bytes &block, const Fault &fault) {
    std::string field = to_hex(block);
    if (fault.kind == FaultKind::opn_short) {
        field.resize(fault.number, '0');
    }
    if (fault.kind == FaultKind::opn_bad_hex) {
        field[field.size() / 2] = 'G';
    }
    return field;
}

void answer_with_block(Device &device, const Bytes &block, const Bytes &key, const Fault &fault) {
    constexpr std::size_t right_length = 3 + modulus_digits;
    const std::size_t length = fault.kind == FaultKind::opn_len1 ? fault.number : right_length;
    const std::size_t crkslen = fault.kind == FaultKind::opn_crkslen ? fault.number : modulus_size;
    Response response = make_response("OPN", status::ok);
    // A fault can make the length field wrong, so the data part is written here as a whole.
    response.rest =
        to_bytes(zero_filled(length, 3) + zero_filled(crkslen, 3) + hex_field(block, fault));
    if (key.size() == SecureChannel::key_size) {
        device.open_session(key);
    }
    device.answer(std::move(response));
}

// Searches for a key block, a slice at a time.
class KeyBlockWork : public Waiting {
public:
    KeyBlockWork(Device &device, LeadingByteSearch search, Bytes key, Fault fault)
        : device_(device), search_(std::move(search)), key_(std::move(key)),
          fault_(std::move(fault)), timer_(device.io()) {}

    void start() override { schedule(); }
    void stop() override { timer_.cancel(); }
    bool for_customer() const override { return false; }

private:
    void schedule() {
        timer_.after(std::chrono::nanoseconds(0), [this] { work(); });
    }

    void work() {
        const auto block = search_.search_slice();
        if (block) {
            answer_with_block(device_, *block, key_, fault_);
        } else if (search_.exhausted()) {
            device_.answer(status::internal_error);
        } else {
            schedule();
        }
    }

    Device &device_;
    LeadingByteSearch search_;
    Bytes key_;
    Fault fault_;
    Timer timer_;
};

void open_secure(Device &device, const Bytes &rest) {
    const auto host_key = read_host_key(rest);
    const auto struck = device.strike_opn();
    // Without a fault the kind is one of another stage, which does not affect the block.
    const Fault fault = struck.value_or(Fault{});
    if (fault.kind == FaultKind::opn_empty) {
        device.answer(status::ok);
        return;
    }
    const std::size_t key_size =
        fault.kind == FaultKind::opn_ksec_length ? fault.number : SecureChannel::key_size;
    Bytes key = device.scenario().session_key.value_or(random_bytes(SecureChannel::key_size));
    key.resize(key_size, 0x5A);
    const KeyBlockShape shape = block_shape(fault);
    if (fault.kind == FaultKind::opn_lead_30) {
        LeadingByteSearch search(host_key, key, shape, fault.number);
        device.wait_with(std::make_unique<KeyBlockWork>(device, std::move(search), key, fault));
        return;
    }
    const Bytes block = host_key->encrypt(make_key_block(host_key->size(), key, shape));
    answer_with_block(device, block, key, fault);
}

} // namespace

void opn(Device &device, const Request &request) {
    if (!request.rest.empty()) {
        open_secure(device, request.rest);
        return;
    }
    device.open_session();
    device.answer(status::ok);
}

} // namespace sim::commands
