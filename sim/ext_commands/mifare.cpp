#include "sim/ext_commands/ext_commands.h"
#include "sim/text.h"

#include <algorithm>
#include <charconv>
#include <cstdint>

namespace sim::ext_commands {

namespace {

namespace card_status {
constexpr const char *done = "00";
constexpr const char *no_card = "01";
constexpr const char *not_authenticated = "02";
constexpr const char *wrong_key = "03";
constexpr const char *denied = "04";
constexpr const char *not_a_value = "05";
constexpr const char *bad_parameter = "06";
constexpr const char *overflow = "07";
} // namespace card_status

const char *status_of(MifareCard::Result result) {
    switch (result) {
    case MifareCard::Result::ok:
        return card_status::done;
    case MifareCard::Result::not_authenticated:
        return card_status::not_authenticated;
    case MifareCard::Result::wrong_key:
        return card_status::wrong_key;
    case MifareCard::Result::denied:
        return card_status::denied;
    case MifareCard::Result::not_a_value:
        return card_status::not_a_value;
    case MifareCard::Result::overflow:
        return card_status::overflow;
    }
    return card_status::bad_parameter;
}

// Ends a command with a status of its own.
void answer(Device &device, const ExtRequest &request, const char *status,
            const std::string &result = {}) {
    device.log().note("mifare", {{"id", request.id}, {"status", status}});
    device.answer(ExtResponse{request.id, status, to_bytes(result)});
}

void answer(Device &device, const ExtRequest &request, MifareCard::Result result,
            const std::string &text) {
    const bool done = result == MifareCard::Result::ok;
    answer(device, request, status_of(result), done ? text : std::string());
}

std::size_t take_block(FieldReader &fields) {
    constexpr std::size_t digits = 4;
    const std::size_t block = fields.number(digits);
    if (block >= MifareCard::block_count) {
        throw BadField("the card has no such block");
    }
    return block;
}

MifareCard::Key take_key(FieldReader &fields) {
    const Bytes bytes = fields.hex(MifareCard::key_size);
    MifareCard::Key key{};
    std::copy(bytes.begin(), bytes.end(), key.begin());
    return key;
}

// The letter of a key and the key.
MifareCard::Key take_marked_key(FieldReader &fields, const char *letter) {
    fields.choice(letter);
    return take_key(fields);
}

std::int32_t take_amount(FieldReader &fields) {
    const std::string text = fields.rest();
    std::int32_t amount = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), amount);
    if (error != std::errc() || end != text.data() + text.size()) {
        throw BadField("expected an amount");
    }
    return amount;
}

std::string uid_text(const MifareCard &card) {
    return to_hex(Bytes(card.uid().begin(), card.uid().end()));
}

// Bytes of a card, from a place in one block on into those that follow it.
struct Stretch {
    std::size_t block;
    std::size_t offset;
    std::size_t size;

    std::size_t last_block() const {
        return block + (offset + std::max<std::size_t>(size, 1) - 1) / MifareCard::block_size;
    }
};

void read_stretch(Device &device, const ExtRequest &request, MifareCard &card,
                  const Stretch &stretch) {
    Bytes found;
    for (std::size_t block = stretch.block; block <= stretch.last_block(); ++block) {
        if (block == MifareCard::block_count) {
            answer(device, request, card_status::bad_parameter);
            return;
        }
        MifareCard::Block content{};
        const MifareCard::Result result = card.read(block, content);
        if (result != MifareCard::Result::ok) {
            answer(device, request, result, {});
            return;
        }
        found.insert(found.end(), content.begin(), content.end());
    }
    const auto from = found.begin() + static_cast<std::ptrdiff_t>(stretch.offset);
    answer(device, request, card_status::done,
           to_hex(Bytes(from, from + static_cast<std::ptrdiff_t>(stretch.size))));
}

// Nothing is written unless all may be.
void write_stretch(Device &device, const ExtRequest &request, MifareCard &card,
                   const Stretch &stretch, const Bytes &data) {
    for (std::size_t block = stretch.block; block <= stretch.last_block(); ++block) {
        if (block == MifareCard::block_count) {
            answer(device, request, card_status::bad_parameter);
            return;
        }
        const MifareCard::Result result = card.may_write(block);
        if (result != MifareCard::Result::ok) {
            answer(device, request, result, {});
            return;
        }
    }
    std::size_t taken = 0;
    for (std::size_t block = stretch.block; block <= stretch.last_block(); ++block) {
        MifareCard::Block content = card.content(block);
        const std::size_t from = block == stretch.block ? stretch.offset : 0;
        for (std::size_t at = from; at < content.size() && taken < data.size(); ++at) {
            content.at(at) = data[taken++];
        }
        card.write(block, content);
    }
    answer(device, request, card_status::done, std::to_string(taken));
}

void change_value(Device &device, const ExtRequest &request, MifareCard &card, FieldReader &fields,
                  std::size_t origin) {
    const std::size_t destination = take_block(fields);
    const char operation = fields.choice("+-=");
    std::int32_t value = 0;
    MifareCard::Result result = MifareCard::Result::ok;
    if (operation == '=') {
        fields.end();
        result = card.copy(origin, destination, value);
    } else {
        const std::int32_t amount = take_amount(fields);
        // The card itself knows only amounts without a sign.
        if (amount < 0) {
            throw BadField("a negative amount");
        }
        result = operation == '+' ? card.increment(origin, destination, amount, value)
                                  : card.decrement(origin, destination, amount, value);
    }
    answer(device, request, result, std::to_string(value));
}

} // namespace

void mf01(Device &device, const ExtRequest &request) {
    FieldReader(request.rest).end();
    const MifareCard *card = device.contactless().activate();
    if (card == nullptr) {
        answer(device, request, card_status::no_card);
    } else {
        answer(device, request, card_status::done, uid_text(*card));
    }
}

void mf02(Device &device, const ExtRequest &request) {
    FieldReader fields(request.rest);
    const std::size_t block = take_block(fields);
    const auto kind = fields.choice("AB") == 'A' ? MifareCard::KeyKind::a : MifareCard::KeyKind::b;
    const MifareCard::Key key = take_key(fields);
    const std::string serial = fields.rest();
    MifareCard *card = device.contactless().current();
    if (card == nullptr || serial != uid_text(*card)) {
        answer(device, request, card_status::no_card);
    } else {
        answer(device, request, card->authenticate(block, kind, key), {});
    }
}

void mf03(Device &device, const ExtRequest &request) {
    constexpr std::size_t offset_digits = 2;
    constexpr std::size_t count_digits = 3;
    FieldReader fields(request.rest);
    Stretch stretch{take_block(fields), fields.number(offset_digits), 0};
    const char operation = fields.choice("RW");
    Bytes data;
    if (operation == 'R') {
        stretch.size = fields.number(count_digits);
    } else {
        data = fields.hex(fields.left() / 2);
        stretch.size = data.size();
    }
    fields.end();
    if (stretch.offset >= MifareCard::block_size || stretch.size == 0) {
        throw BadField("no bytes of the block");
    }
    MifareCard *card = device.contactless().current();
    if (card == nullptr) {
        answer(device, request, card_status::no_card);
    } else if (operation == 'R') {
        read_stretch(device, request, *card, stretch);
    } else {
        write_stretch(device, request, *card, stretch, data);
    }
}

void mf04(Device &device, const ExtRequest &request) {
    FieldReader fields(request.rest);
    const std::size_t block = take_block(fields);
    MifareCard *card = device.contactless().current();
    if (card == nullptr) {
        answer(device, request, card_status::no_card);
        return;
    }
    // A destination begins with a digit, an operation does not.
    constexpr std::size_t destination_digits = 4;
    if (fields.left() > destination_digits) {
        const char next = static_cast<char>(request.rest[request.rest.size() - fields.left()]);
        if (next >= '0' && next <= '9') {
            change_value(device, request, *card, fields, block);
            return;
        }
    }
    if (fields.choice("RW") == 'R') {
        fields.end();
        std::int32_t value = 0;
        const MifareCard::Result result = card->read_value(block, value);
        answer(device, request, result, std::to_string(value));
        return;
    }
    const std::int32_t value = take_amount(fields);
    answer(device, request, card->write_value(block, value), std::to_string(value));
}

void mf05(Device &device, const ExtRequest &request) {
    FieldReader fields(request.rest);
    const std::size_t block = take_block(fields);
    MifareCard *card = device.contactless().current();
    // Reading has a letter of its own; setting begins with that of key A.
    if (fields.choice("RA") == 'R') {
        fields.end();
        MifareCard::Access access;
        const MifareCard::Result result =
            card == nullptr ? MifareCard::Result::ok : card->read_access(block, access);
        const std::string flags{access.c1 ? '1' : '0', access.c2 ? '1' : '0',
                                access.c3 ? '1' : '0'};
        if (card == nullptr) {
            answer(device, request, card_status::no_card);
        } else {
            answer(device, request, result, flags);
        }
        return;
    }
    const MifareCard::Key a = take_key(fields);
    const MifareCard::Key b = take_marked_key(fields, "B");
    MifareCard::Access access;
    access.c1 = fields.choice("01") == '1';
    access.c2 = fields.choice("01") == '1';
    access.c3 = fields.choice("01") == '1';
    fields.end();
    if (card == nullptr) {
        answer(device, request, card_status::no_card);
    } else {
        answer(device, request, card->configure(block, a, b, access), {});
    }
}

void mf06(Device &device, const ExtRequest &request) {
    FieldReader fields(request.rest);
    const std::size_t block = take_block(fields);
    const MifareCard::Key a = take_marked_key(fields, "A");
    const MifareCard::Key b = take_marked_key(fields, "B");
    fields.end();
    MifareCard *card = device.contactless().current();
    if (card == nullptr) {
        answer(device, request, card_status::no_card);
    } else {
        answer(device, request, card->change_keys(block, a, b), {});
    }
}

} // namespace sim::ext_commands
