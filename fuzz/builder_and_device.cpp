// What the library's builder builds, the virtual PIN pad's own parser reads back equal; and what
// the virtual PIN pad writes as an answer, the library's parser reads back equal. The input is a
// list of parameters: two bytes of identifier, one of length, and that many bytes.

#include "abecs/cmd_builder.h"
#include "abecs/response_parser.h"
#include "fuzz/check.h"
#include "sim/abecs_frame.h"
#include "sim/packet.h"

#include <algorithm>
#include <array>
#include <optional>
#include <vector>

namespace {

std::vector<sim::Param> paramsOf(const std::uint8_t *data, std::size_t size) {
    std::vector<sim::Param> params;
    for (std::size_t at = 0; at + 3 <= size;) {
        sim::Param param;
        param.id = static_cast<std::uint16_t>(data[at] << 8 | data[at + 1]);
        const std::size_t length = std::min<std::size_t>(data[at + 2], size - at - 3);
        param.value.assign(data + at + 3, data + at + 3 + length);
        params.push_back(param);
        at += 3 + length;
    }
    return params;
}

sim::Bytes bytesOf(AbecsPacket *packet) {
    sim::Bytes bytes;
    while (abecsPacketAvailable(packet) > 0) {
        bytes.push_back(abecsPacketReadByte(packet));
    }
    return bytes;
}

void requireSame(const std::vector<sim::Param> &expected, const std::vector<sim::Param> &found) {
    FUZZ_CHECK(expected.size() == found.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        FUZZ_CHECK(expected[i].id == found[i].id);
        FUZZ_CHECK(expected[i].value == found[i].value);
    }
}

std::size_t recordSize(const sim::Param &param) {
    return 4 + param.value.size();
}

// Where the parameters of a command go: each into the first block while it fits there, otherwise
// into the second. Nothing when one fits into neither.
std::optional<std::vector<sim::Param>> placed(const std::vector<sim::Param> &params) {
    std::array<std::vector<sim::Param>, 2> blocks;
    std::array<std::size_t, 2> sizes{};
    for (const sim::Param &param : params) {
        const std::size_t block = sizes[0] + recordSize(param) <= ABECS_BLOCK_CAPACITY ? 0 : 1;
        sizes.at(block) += recordSize(param);
        if (sizes.at(block) > ABECS_BLOCK_CAPACITY) {
            return std::nullopt;
        }
        blocks.at(block).push_back(param);
    }
    blocks[0].insert(blocks[0].end(), blocks[1].begin(), blocks[1].end());
    return blocks[0];
}

// Whether an answer has room for them, one block after the other.
bool fitsInTurn(const std::vector<sim::Param> &params) {
    std::size_t block = 0;
    std::size_t size = 0;
    for (const sim::Param &param : params) {
        if (size + recordSize(param) > ABECS_BLOCK_CAPACITY) {
            ++block;
            size = 0;
        }
        size += recordSize(param);
        if (block > 1 || size > ABECS_BLOCK_CAPACITY) {
            return false;
        }
    }
    return true;
}

void buildAndRead(const std::vector<sim::Param> &params) {
    const AbecsCmdBuilderPtr builder(abecs_cmd_builder_create());
    const AbecsPacketPtr packet(abecsPacketCreate());
    const PclException failure = pcl_attempt([&] {
        abecs_cmd_builder_set_cmd_id(builder.get(), "XYZ");
        for (const sim::Param &param : params) {
            const AbecsParamPtr record(abecsParamCreate());
            abecsParamSetId(record.get(), param.id);
            abecsFieldPutBytes(record.get(), param.value.data(), param.value.size());
            abecs_cmd_builder_add_param(builder.get(), record.get());
        }
        abecs_cmd_builder_build(builder.get(), packet.get());
    });
    const std::optional<std::vector<sim::Param>> expected = placed(params);
    FUZZ_CHECK(!failure == expected.has_value());
    if (failure) {
        FUZZ_CHECK(failure.code == PCL_RESULT_IO_ERROR);
        return;
    }
    const sim::Bytes body = bytesOf(packet.get());

    sim::FrameReader reader;
    const sim::Bytes frame = sim::encode_frame(body, false);
    reader.begin();
    for (std::size_t i = 1; i < frame.size(); ++i) {
        const auto result = reader.feed(frame[i]);
        FUZZ_CHECK(result == (i + 1 == frame.size() ? sim::FrameReader::Result::good
                                                    : sim::FrameReader::Result::more));
    }
    FUZZ_CHECK(reader.body() == body);

    const sim::Request request = sim::read_request(body);
    FUZZ_CHECK(request.id == "XYZ");
    requireSame(*expected, sim::read_params(request.rest));
}

void answerAndParse(const std::vector<sim::Param> &params) {
    if (!fitsInTurn(params)) {
        return;
    }
    sim::Response response = sim::make_response("XYZ", 0);
    response.params = params;
    const sim::Bytes body = sim::write_response(response);
    const AbecsPacketPtr packet(abecsPacketCreate());
    abecsFieldPutBytes(packet.get(), body.data(), body.size());
    const AbecsResponseParserPtr parser(abecsParserCreate());
    const AbecsParamPtr param(abecsParamCreate());
    std::vector<sim::Param> found;
    const PclException failure = pcl_attempt([&] {
        abecsParserParse(parser.get(), packet.get());
        while (abecsParserNextParam(parser.get(), param.get()) != nullptr) {
            sim::Param one;
            one.id = abecsParamGetId(param.get());
            while (abecsParamLength(param.get()) > 0) {
                one.value.push_back(abecsParamReadByte(param.get()));
            }
            found.push_back(one);
        }
    });
    FUZZ_CHECK(!failure);
    requireSame(params, found);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::vector<sim::Param> params = paramsOf(data, size);
    buildAndRead(params);
    answerAndParse(params);
    return 0;
}
