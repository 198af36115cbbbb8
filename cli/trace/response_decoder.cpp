#include "cli/trace/response_decoder.h"

#include "abecs/rsp_stat.h"
#include "cli/secret_ids.h"
#include "cli/status_text.h"
#include "cli/text.h"
#include "cli/trace/body_reader.h"
#include "cli/trace/command_table.h"

#include <algorithm>

namespace cli {

namespace {

constexpr std::size_t FIELD_SIZE = 3;

bool isText(std::string_view value) {
    return std::all_of(value.begin(), value.end(), [](char c) { return c >= 0x20 && c < 0x7F; });
}

std::string inWords(std::string_view value) {
    return isText(value) ? "\"" + fromDeviceVisibly(value) + "\"" : byteCount(value.size());
}

void takeNotification(BodyReader &reader) {
    const auto length = reader.takeDecimal("RSP_LEN1", FIELD_SIZE);
    if (!length) {
        return;
    }
    if (const auto text = reader.take(*length)) {
        reader.addRow("text", "\"" + fromDeviceVisibly(*text) + "\"");
    }
}

void takeKeyExchange(BodyReader &reader) {
    if (!reader.takeDecimal("RSP_LEN1", FIELD_SIZE) ||
        !reader.takeDecimal("OPN_CRKSLEN", FIELD_SIZE)) {
        return;
    }
    const std::size_t size = reader.left();
    reader.take(size);
    reader.addRow("encrypted session key", byteCount(size), true, size);
}

void takeParams(BodyReader &reader) {
    reader.takeBlocks("RSP_LEN", [&](std::uint16_t id, std::string_view value) {
        reader.addRow(idText(id) + " " + dataName(id), inWords(value), isSecretId(id),
                      value.size());
    });
}

} // namespace

DecodedBody decodeResponse(std::string_view body) {
    BodyReader reader(body);
    const auto id = reader.take(FIELD_SIZE);
    if (!id) {
        return reader.finish("answer without an identifier");
    }
    const bool isNotification = *id == "NTM";
    if (!isNotification && *id != "ERR" && findCommand(*id) == nullptr) {
        reader.addRow("RSP_ID", "", true, FIELD_SIZE);
        return reader.finish("unknown answer");
    }
    const std::string shownId(*id);
    reader.addRow("RSP_ID", shownId);
    reader.trustRows();
    const auto status = reader.takeDecimal("RSP_STAT", FIELD_SIZE);
    const char *statusName =
        status ? abecsRspStatFindName(static_cast<std::int32_t>(*status)) : nullptr;
    if (statusName == nullptr) {
        return reader.finish(shownId + " answer without a known status");
    }
    reader.trustRows();
    if (*status == 0 && isNotification) {
        takeNotification(reader);
    } else if (*status == 0 && *id == "OPN" && reader.left() > 0) {
        takeKeyExchange(reader);
    } else if (*status == 0) {
        takeParams(reader);
    }
    return reader.finish(shownId + (isNotification ? " notification, " : " answer, ") + statusName);
}

} // namespace cli
