#include "daemon/families/media/profile.h"

#include "daemon/base/text_finder.h"
#include "daemon/configer/reply.h"
#include "daemon/request/request_text.h"
#include "platform/log.h"

namespace
{

constexpr CodecWords VIDEO_CODECS[] = {
    {"mpeg4", "MPEG4", "MPEG4"}, {"mjpeg", "MJPEG", "MJPEG"}, {"h264", "H.264", "H264"}};

struct VideoStreams {
    int32_t iCount;
    char acCodecs[32];
};
constexpr ReadRow<VideoStreams> VIDEO_STREAMS[] = {
    ReadInt<&VideoStreams::iCount>("capability_nmediastream"),
    ReadText<&VideoStreams::acCodecs>("capability_videoin_codec").AskedWith(""),
};

bool IsProfile(int32_t iProfileID, int32_t iCount)
{
    return iProfileID >= 1 && iProfileID <= iCount;
}

} // namespace

int Capability_GetVideoStreams(int32_t &iStreamCount, int32_t &iH264)
{
    VideoStreams streams = {};
    ConfigerReply<1024> reply(__func__);
    reply.Read(VIDEO_STREAMS, streams);
    if (reply.Failed())
        return -1;
    iStreamCount = streams.iCount;
    if (std::string_view(streams.acCodecs).find("h264") != std::string_view::npos)
        iH264 = 1;
    return 0;
}

bool Capability_Lists(std::span<char> answer, std::string_view key, std::string_view word)
{
    ConfigerReader reply(__func__, answer);
    reply.AskKey(key);
    std::string_view list;
    // KEPT: a piece of a listed word, even an empty one, counts as listed.
    return !reply.Failed() && Text_FindValue(reply.View(), StoreKey(key).View(), '\n', list) == 0 &&
           list.find(word) != std::string_view::npos;
}

const CodecWords *VideoCodec_Find(std::string_view storeValue)
{
    for (const CodecWords &codec : VIDEO_CODECS)
        if (storeValue.starts_with(codec.store))
            return &codec;
    return nullptr;
}

const CodecAlias *Codec_FindAlias(std::span<const CodecAlias> aliases, std::string_view text)
{
    for (const CodecAlias &alias : aliases)
        if (text.starts_with(alias.prefix))
            return &alias;
    return nullptr;
}

int Profile_ReadCodec(SessionSlot &slot, const char *pcParser, std::string_view key, int32_t iStream,
                      std::span<char> codec)
{
    ConfigerReply<1024> reply(pcParser);
    reply.ReadText(key, codec, {iStream});
    return reply.Failed() ? Session_Refuse(slot, StatusKind::InternalError) : 0;
}

int Profile_FromQuery(const SessionSlot &slot, int32_t iCount, int32_t &iProfileID)
{
    if (GetIntValueFromText(slot.tRequest.acQeryString, "profileid=", iProfileID) != 0)
        return -1;
    return IsProfile(iProfileID, iCount) ? 0 : -1;
}

int Profile_CheckRange(SessionSlot &slot, const char *pcRecord, int32_t iProfileID, int32_t iCount)
{
    if (IsProfile(iProfileID, iCount))
        return 0;
    Trace("esrInvalidOperation, %s->iProfileID=%d\n", pcRecord, iProfileID);
    return Session_Refuse(slot, StatusKind::BadRequest);
}
