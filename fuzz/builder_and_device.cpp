// What the library's builder builds, the virtual PIN pad's own parser reads back equal; and what
// the virtual PIN pad writes as an answer, the library's parser reads back equal. The input is a
// list of parameters: two bytes of identifier, one of length, and that many bytes.

#include "abecs/cmd_builder.h"
#include "abecs/response_parser.h"
#include "fuzz/check.h"
#include "sim/abecs_frame.h"
#include "sim/packet.h"

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

// The order may change only where a later parameter fits into what the first block has left.
bool isInOrder(const std::vector<sim::Param> &params) {
    std::size_t total = 0;
    for (const sim::Param &param : params) {
        total += 4 + param.value.size();
    }
    return total <= ABECS_BLOCK_CAPACITY;
}

void buildAndRead(const std::vector<sim::Param> &params) {
    const AbecsCmdBuilderPtr builder(abecs_cmd_builder_create());
    const AbecsPacketPtr packet(abecsPacketCreate());
    const PclFailure failure = pcl_attempt([&] {
        abecs_cmd_builder_set_cmd_id(builder.get(), "XYZ");
        for (const sim::Param &param : params) {
            const AbecsParamPtr record(abecsParamCreate());
            abecsParamSetId(record.get(), param.id);
            abecsFieldPutBytes(record.get(), param.value.data(), param.value.size());
            abecs_cmd_builder_add_param(builder.get(), record.get());
        }
        abecs_cmd_builder_build(builder.get(), packet.get());
    });
    if (failure) {
        FUZZ_CHECK(failure.code == PCL_RESULT_IO_ERROR);
        FUZZ_CHECK(!isInOrder(params));
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
    const std::vector<sim::Param> found = sim::read_params(request.rest);
    FUZZ_CHECK(found.size() == params.size());
    if (isInOrder(params)) {
        requireSame(params, found);
    }
}

void answerAndParse(const std::vector<sim::Param> &params) {
    sim::Response response = sim::make_response("XYZ", 0);
    response.params = params;
    const sim::Bytes body = sim::write_response(response);
    if (body.size() > ABECS_PACKET_CAPACITY || !isInOrder(params)) {
        return;
    }
    const AbecsPacketPtr packet(abecsPacketCreate());
    abecsFieldPutBytes(packet.get(), body.data(), body.size());
    const AbecsResponseParserPtr parser(abecsParserCreate());
    const AbecsParamPtr param(abecsParamCreate());
    std::vector<sim::Param> found;
    const PclFailure failure = pcl_attempt([&] {
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
