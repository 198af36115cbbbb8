#pragma once

#include "abecs/packet.h"
#include "abecs/param.h"
#include "abecs/rsp_stat.h"

#include <cstdint>

/// Checks the structure of a response body and hands out its parameters one by one.
///
/// Operations raise PCL_RESULT_ILLEGAL_ARGUMENT "'parser' is NULL" for a null parser. Faults of the
/// body's structure are PCL_RESULT_IO_ERROR, faults of its meaning PCL_RESULT_PROTOCOL_ERROR.
struct AbecsResponseParser;

inline constexpr char ABECS_RSP_ID_NOTIFICATION[] = "NTM";
inline constexpr char ABECS_RSP_ID_ERROR[] = "ERR";
inline constexpr std::size_t ABECS_NOTIFICATION_SIZE = 33;

/// A parser with every field zero.
AbecsResponseParser *abecsParserCreate();

/// Clears the caller's variable. The parser itself lives until the process ends; it is handed out
/// again by a later abecsParserCreate, so that commands do not gather memory. Until then,
/// destroying it again through another variable does nothing more.
void abecsParserDestroy(AbecsResponseParser **parser);

using AbecsResponseParserPtr = PclOwned<AbecsResponseParser, abecsParserDestroy>;
using AbecsResponseParserLocal =
    PclLocal<AbecsResponseParser, abecsParserCreate, abecsParserDestroy>;

/// Parses the body and leaves the packet, which must outlive the parser's use, at its first
/// parameter.
void abecsParserParse(AbecsResponseParser *parser, AbecsPacket *responsePacket);

/// The identifier of the response, held in the parser.
const char *abecsParserGetRspId(AbecsResponseParser *parser);

AbecsRspStat_e abecsParserGetRspStat(AbecsResponseParser *parser);

/// Fills `out` ("'out' is NULL") with the next parameter and returns it; null when none is left.
AbecsParam *abecsParserNextParam(AbecsResponseParser *parser, AbecsParam *out);

/// Copies the text of a notification into `out` (33 bytes; null skips it) and returns `out`. Raises
/// PCL_RESULT_ILLEGAL_STATE "Response is not a notification" for any other response.
char *abecsParserGetNotification(AbecsResponseParser *parser, char *out);

/// Raises PCL_RESULT_PROTOCOL_ERROR "(%s) Invalid RSP_ID: %s)" unless the response carries the
/// command's own identifier or "ERR".
void abecsParserRequireRspId(AbecsResponseParser *parser, const char *cmdId);

/// Reads status, length and text of a notification from a packet positioned after its identifier
/// into `out` (33 bytes).
void abecsPacketReadNotification(AbecsPacket *packet, char *out);
