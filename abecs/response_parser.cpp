#include "abecs/response_parser.h"

#include "core/exception.h"
#include "core/guard.h"
#include "core/memory.h"

#include <atomic>
#include <cstring>

struct AbecsResponseParser {
    AbecsPacket *packet;
    char rspId[4];
    AbecsRspStat_e status;
    std::uint16_t block1Left;
    std::uint16_t block2Left;
    bool idle;
    AbecsResponseParser *nextIdle;
};

namespace {

constexpr std::size_t HEADER_SIZE = 6;
constexpr std::size_t PARAM_HEADER_SIZE = 4;
constexpr std::size_t BLOCK_LENGTH_DIGITS = 3;

// Parsers whose command is over, waiting for the next one.
std::atomic<AbecsResponseParser *> idleParsers{nullptr};

void retire(AbecsResponseParser *first, AbecsResponseParser *last) {
    AbecsResponseParser *head = idleParsers.load();
    do {
        last->nextIdle = head;
    } while (!idleParsers.compare_exchange_weak(head, first));
}

// Takes the whole list and gives back what it does not need, so that no thread ever follows a link
// of a list that another one is changing.
AbecsResponseParser *takeIdle() {
    AbecsResponseParser *taken = idleParsers.exchange(nullptr);
    if (taken != nullptr && taken->nextIdle != nullptr) {
        AbecsResponseParser *last = taken->nextIdle;
        while (last->nextIdle != nullptr) {
            last = last->nextIdle;
        }
        retire(taken->nextIdle, last);
    }
    return taken;
}

bool isGiven(const AbecsResponseParser *parser) {
    if (parser == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'parser' is NULL");
        return false;
    }
    return true;
}

void raiseMalformed() {
    pcl_raise(PCL_RESULT_IO_ERROR, "Invalid packet (malformed)");
}

std::uint16_t readBlockLength(AbecsPacket *packet) {
    return static_cast<std::uint16_t>(abecsFieldGetNumber(packet, BLOCK_LENGTH_DIGITS));
}

void parseBlockLengths(AbecsResponseParser *parser) {
    AbecsPacket *packet = parser->packet;
    parser->block1Left = readBlockLength(packet);
    parser->block2Left = 0;
    if (abecsPacketAvailable(packet) < parser->block1Left) {
        raiseMalformed();
        return;
    }
    if (abecsPacketAvailable(packet) == parser->block1Left) {
        return;
    }
    AbecsPacketMark startOfBlock1;
    abecsPacketMark(packet, &startOfBlock1);
    abecsFieldGetBytes(packet, nullptr, 0, parser->block1Left);
    parser->block2Left = readBlockLength(packet);
    if (abecsPacketAvailable(packet) < parser->block2Left) {
        raiseMalformed();
        return;
    }
    if (abecsPacketAvailable(packet) > parser->block2Left) {
        pcl_raise(PCL_RESULT_IO_ERROR, "Invalid packet (unsupported block)");
        return;
    }
    abecsPacketRestore(packet, &startOfBlock1);
}

void recogniseNotification(AbecsResponseParser *parser) {
    if (std::strcmp(parser->rspId, ABECS_RSP_ID_NOTIFICATION) != 0) {
        return;
    }
    if (parser->status != ABECS_RSP_STAT_ST_OK) {
        pcl_raise(PCL_RESULT_PROTOCOL_ERROR, "NTM with invalid RSP_STAT: %s",
                  abecsRspStatName(parser->status));
        return;
    }
    if (parser->block1Left >= ABECS_NOTIFICATION_SIZE || parser->block2Left != 0) {
        pcl_raise(PCL_RESULT_PROTOCOL_ERROR, "Malformed notification");
        return;
    }
    parser->status = ABECS_RSP_STAT_ST_NOTIFICATION;
}

AbecsParam *readParamOfBlock(AbecsResponseParser *parser, std::uint16_t &left, AbecsParam *out) {
    abecsPacketReadParam(parser->packet, out);
    left = static_cast<std::uint16_t>(left - (abecsParamLength(out) + PARAM_HEADER_SIZE));
    return out;
}

} // namespace

AbecsResponseParser *abecsParserCreate() {
    AbecsResponseParser *parser = takeIdle();
    if (parser == nullptr) {
        parser = static_cast<AbecsResponseParser *>(pcl_malloc(sizeof(AbecsResponseParser), 0));
    }
    if (parser != nullptr) {
        *parser = AbecsResponseParser{};
    }
    return parser;
}

void abecsParserDestroy(AbecsResponseParser **parser) {
    if (parser == nullptr || *parser == nullptr) {
        return;
    }
    AbecsResponseParser *ended = *parser;
    *parser = nullptr;
    if (!ended->idle) {
        ended->idle = true;
        retire(ended, ended);
    }
}

void abecsParserParse(AbecsResponseParser *parser, AbecsPacket *responsePacket) {
    if (!isGiven(parser)) {
        return;
    }
    if (responsePacket == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'responsePacket' is NULL");
        return;
    }
    pcl_guarded([&] {
        if (abecsPacketAvailable(responsePacket) < HEADER_SIZE) {
            pcl_raise(PCL_RESULT_IO_ERROR, "Invalid packet (not enough data)");
            return;
        }
        abecsFieldGetAlpha(responsePacket, parser->rspId, sizeof parser->rspId, 3, 0);
        parser->status = abecsReadRspStat(responsePacket);
        parser->packet = responsePacket;
        parser->block1Left = 0;
        parser->block2Left = 0;
        if (parser->status == ABECS_RSP_STAT_ST_OK && abecsPacketAvailable(responsePacket) > 0) {
            parseBlockLengths(parser);
        }
        recogniseNotification(parser);
    });
}

const char *abecsParserGetRspId(AbecsResponseParser *parser) {
    return isGiven(parser) ? parser->rspId : "";
}

AbecsRspStat_e abecsParserGetRspStat(AbecsResponseParser *parser) {
    return isGiven(parser) ? parser->status : ABECS_RSP_STAT_ST_INTERR;
}

AbecsParam *abecsParserNextParam(AbecsResponseParser *parser, AbecsParam *out) {
    if (!isGiven(parser)) {
        return nullptr;
    }
    if (out == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'out' is NULL");
        return nullptr;
    }
    return pcl_guarded<AbecsParam *>(nullptr, [&]() -> AbecsParam * {
        if (parser->block1Left >= PARAM_HEADER_SIZE) {
            return readParamOfBlock(parser, parser->block1Left, out);
        }
        if (parser->block1Left != 0) {
            pcl_raise(PCL_RESULT_IO_ERROR,
                      "Malformed packet (remaining bytes on BLK1 cannot be used)");
            return nullptr;
        }
        if (abecsPacketAvailable(parser->packet) > parser->block2Left) {
            readBlockLength(parser->packet);
        }
        if (parser->block2Left >= PARAM_HEADER_SIZE) {
            return readParamOfBlock(parser, parser->block2Left, out);
        }
        if (parser->block2Left != 0) {
            pcl_raise(PCL_RESULT_IO_ERROR,
                      "Malformed packet (remaining bytes on BLK2 cannot be used)");
        }
        return nullptr;
    });
}

char *abecsParserGetNotification(AbecsResponseParser *parser, char *out) {
    if (!isGiven(parser)) {
        return out;
    }
    if (parser->status != ABECS_RSP_STAT_ST_NOTIFICATION) {
        pcl_raise(PCL_RESULT_ILLEGAL_STATE, "Response is not a notification");
        return out;
    }
    return pcl_guarded(out, [&] {
        abecsFieldGetAlphaExt(parser->packet, out, out == nullptr ? 0 : ABECS_NOTIFICATION_SIZE,
                              parser->block1Left, 0);
        parser->block1Left = 0;
        return out;
    });
}

void abecsParserRequireRspId(AbecsResponseParser *parser, const char *cmdId) {
    const char *rspId = abecsParserGetRspId(parser);
    if (std::strcmp(rspId, cmdId) != 0 && std::strcmp(rspId, ABECS_RSP_ID_ERROR) != 0) {
        pcl_raise(PCL_RESULT_PROTOCOL_ERROR, "(%s) Invalid RSP_ID: %s)", cmdId, rspId);
    }
}

void abecsPacketReadNotification(AbecsPacket *packet, char *out) {
    if (packet == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'packet' is NULL");
        return;
    }
    if (out == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'out' is NULL");
        return;
    }
    pcl_guarded([&] {
        const AbecsRspStat_e status = abecsReadRspStat(packet);
        if (status != ABECS_RSP_STAT_ST_OK) {
            pcl_raise(PCL_RESULT_PROTOCOL_ERROR, "NTM with invalid RSP_STAT: %s",
                      abecsRspStatName(status));
            return;
        }
        const std::size_t length = readBlockLength(packet);
        abecsFieldGetAlphaExt(packet, out, ABECS_NOTIFICATION_SIZE, length, 0);
    });
}
