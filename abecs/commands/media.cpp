#include "abecs/commands/media.h"

#include "abecs/commands/command_params.h"
#include "abecs/commands/media_file.h"
#include "abecs/commands/media_name.h"
#include "abecs/commands/param_command.h"
#include "core/exception.h"
#include "core/guard.h"
#include "core/owned.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::uint16_t PARAM_RECORD = 15;
constexpr std::uint16_t PARAM_MEDIA_INFO = 31;
constexpr std::size_t MEDIA_INFO_FILLER = 3;

using FilePtr = PclOwned<std::FILE, abecsFileClose>;

bool isGiven(const AbecsPinpad *pinpad) {
    if (pinpad == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'pinpad' is NULL");
        return false;
    }
    return true;
}

// Whatever the host's locale says, only a..z change.
void copyUpperCase(const char *from, char *to) {
    for (; *from != '\0'; ++from, ++to) {
        *to = *from >= 'a' && *from <= 'z' ? static_cast<char>(*from - 'a' + 'A') : *from;
    }
    *to = '\0';
}

void addMediaInfo(AbecsCmdBuilder *builder, std::uint32_t size, std::uint16_t checksum,
                  std::uint8_t mediaType) {
    const AbecsParamLocal param;
    abecsParamSetId(param, PARAM_MEDIA_INFO);
    abecsFieldPutBinary(param, size, 4);
    abecsFieldPutBinary(param, checksum, 2);
    abecsFieldPutBinary(param, mediaType, 1);
    for (std::size_t i = 0; i < MEDIA_INFO_FILLER; ++i) {
        abecsParamWriteByte(param, 0);
    }
    abecs_cmd_builder_add_param(builder, param);
}

void addRecord(AbecsCmdBuilder *builder, const void *data, std::size_t size) {
    const AbecsParamLocal param;
    abecsParamSetId(param, PARAM_RECORD);
    abecsFieldPutBytes(param, data, size);
    abecs_cmd_builder_add_param(builder, param);
}

void requireOk(AbecsRspStat_e status, const char *cmdId) {
    if (status != ABECS_RSP_STAT_ST_OK) {
        pcl_raise(PCL_RESULT_IO_ERROR, "%s returned %s", cmdId, abecsRspStatName(status));
    }
}

} // namespace

AbecsRspStat_e abecsMediaLoadInit(AbecsPinpad *pinpad, const char *filename, std::uint32_t size,
                                  std::uint16_t checksum, std::uint8_t mediaType) {
    if (!isGiven(pinpad) || !abecs_is_media_name(filename)) {
        return ABECS_RSP_STAT_ST_INTERR;
    }
    return abecs_exchange_command(pinpad, "MLI", [&](AbecsCmdBuilder *builder) {
        char name[ABECS_MEDIA_NAME_SIZE + 1];
        copyUpperCase(filename, name);
        abecs_add_alpha_param(builder, ABECS_PARAM_MEDIA_NAME, name, ABECS_MEDIA_NAME_SIZE);
        addMediaInfo(builder, size, checksum, mediaType);
    });
}

AbecsRspStat_e abecsMediaLoadRecord(AbecsPinpad *pinpad, const void *data, std::size_t szData) {
    if (!isGiven(pinpad)) {
        return ABECS_RSP_STAT_ST_INTERR;
    }
    if (data == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'data' is NULL");
        return ABECS_RSP_STAT_ST_INTERR;
    }
    if (szData > ABECS_MEDIA_RECORD_SIZE) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'szData' is too big (max: %d, req: %zu)",
                  static_cast<int>(ABECS_MEDIA_RECORD_SIZE), szData);
        return ABECS_RSP_STAT_ST_INTERR;
    }
    if (szData == 0) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'szData' is zero");
        return ABECS_RSP_STAT_ST_INTERR;
    }
    return abecs_exchange_command(
        pinpad, "MLR", [&](AbecsCmdBuilder *builder) { addRecord(builder, data, szData); });
}

AbecsRspStat_e abecsMediaLoadEnd(AbecsPinpad *pinpad) {
    if (!isGiven(pinpad)) {
        return ABECS_RSP_STAT_ST_INTERR;
    }
    return abecs_exchange_command(pinpad, "MLE", [](AbecsCmdBuilder *) {});
}

void abecsMediaLoad(AbecsPinpad *pinpad, const char *path, const char *filename,
                    std::uint8_t mediaType, AbecsMediaProgress progress, void *context) {
    pcl_guarded([&] {
        AbecsMediaFile media{};
        abecsMediaFileOpen(&media, path);
        FilePtr file(media.file);
        requireOk(abecsMediaLoadInit(pinpad, filename, static_cast<std::uint32_t>(media.size),
                                     media.crc, mediaType),
                  "MLI");
        std::array<std::uint8_t, ABECS_MEDIA_RECORD_SIZE> record;
        std::uint64_t left = media.size;
        const auto report = [&] {
            if (progress != nullptr) {
                progress(context, media.size - left, media.size);
            }
        };
        report();
        while (left > 0) {
            // A file that grew meanwhile is sent at the size that was announced.
            const auto wanted =
                static_cast<std::size_t>(std::min<std::uint64_t>(left, record.size()));
            const std::size_t read = abecsFileRead(file.get(), record.data(), wanted);
            left -= read;
            requireOk(abecsMediaLoadRecord(pinpad, record.data(), read), "MLR");
            report();
        }
        requireOk(abecsMediaLoadEnd(pinpad), "MLE");
        std::FILE *closing = file.release();
        abecsFileClose(&closing);
    });
}
