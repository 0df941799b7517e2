#include "daemon/families/media/sensor.h"

#include "daemon/configer/pairs.h"
#include "daemon/configer/reply.h"
#include "daemon/request/keys.h"
#include "daemon/request/request_text.h"

namespace
{

enum Given : uint32_t {
    GIVEN_BRIGHTNESS = 0x001,
    GIVEN_CONTRAST = 0x002,
    GIVEN_SATURATION = 0x004,
    GIVEN_SHARPNESS = 0x008,
    GIVEN_WHITE_BALANCE = 0x010,
    GIVEN_MAX_EXPOSURE = 0x020,
    GIVEN_BACKLIGHT_COMP = 0x040,
    GIVEN_MIRROR = 0x080,
    GIVEN_FLIP = 0x100,
    GIVEN_COLOR = 0x200,
};

using Param = SensorConfigParam;
using Result = SensorConfigResult;

bool IsWhiteBalance(std::string_view value)
{
    return value.find("auto") != std::string_view::npos;
}

bool IsExposureTime(int32_t iValue)
{
    for (const int32_t iAllowed : {5, 15, 30, 60, 120, 240, 480})
        if (iValue == iAllowed)
            return true;
    return false;
}

constexpr KeyRow<Param> KEYS[] = {
    KeyInt<&Param::iBrightness>("brightness=", GIVEN_BRIGHTNESS, -5, 5),
    KeyInt<&Param::iContrast>("contrast=", GIVEN_CONTRAST, -5, 5),
    KeyInt<&Param::iSaturation>("saturation=", GIVEN_SATURATION, -5, 5),
    // KEPT: the same range, although the text of ranges says -3 to 3.
    KeyInt<&Param::iSharpness>("sharpness=", GIVEN_SHARPNESS, -5, 5),
    KeyText<&Param::acWhiteBalance>("whitebalance=", GIVEN_WHITE_BALANCE, IsWhiteBalance),
    KeyInt<&Param::iMaxExposure>("maxexposuretime=", GIVEN_MAX_EXPOSURE, IsExposureTime),
    KeyWord<&Param::iBacklightComp>("backlightcomp=", GIVEN_BACKLIGHT_COMP, "yes", "no"),
    KeyWord<&Param::iMirror>("mirror=", GIVEN_MIRROR, "on", "off"),
    KeyWord<&Param::iFlip>("flip=", GIVEN_FLIP, "on", "off"),
    KeyWord<&Param::iColor>("color=", GIVEN_COLOR, "yes", "no"),
};
static_assert(KeyBitsAreDistinct(KEYS));

constexpr ReadRow<Result> ADJUSTMENTS[] = {
    ReadInt<&Result::iBrightness>("image_c0_brightness"),
    ReadInt<&Result::iSaturation>("image_c0_saturation"),
    ReadInt<&Result::iContrast>("image_c0_contrast"),
    ReadInt<&Result::iSharpness>("image_c0_sharpness"),
    ReadText<&Result::acWhiteBalance>("videoin_c0_whitebalance"),
    ReadInt<&Result::iMaxExposure>("videoin_c0_maxexposure"),
    ReadBool<&Result::iBacklightComp>("videoin_c0_enableblc"),
    ReadBool<&Result::iMirror>("videoin_c0_mirror"),
    ReadBool<&Result::iFlip>("videoin_c0_flip"),
    ReadBool<&Result::iColor>("videoin_c0_color"),
};

} // namespace

int Parser_SensorConfig_Set(SessionSlot &slot)
{
    std::string_view text;
    if (Parser_Begin(slot, SetIndex::SensorConfig, __func__, text) != 0)
        return -1;
    if (Request_TakeKeys(text, KEYS, Session_Param<Param>(slot)) != 0)
        return Session_Refuse(slot, StatusKind::BadRequest);
    return Session_Accept(slot);
}

int MappingSetRoutine_SensorConfig(SessionSlot &slot)
{
    const auto &param = Session_Param<Param>(slot);
    PairBuffer<1024> pairs(param.uiSetMask);
    pairs.AddGiven(GIVEN_BRIGHTNESS, "image_c0_brightness=%d", param.iBrightness);
    // KEPT: without a brightness the text begins with "&"; the store takes an empty pair for none.
    pairs.AddGiven(GIVEN_CONTRAST, "&image_c0_contrast=%d", param.iContrast);
    pairs.AddGiven(GIVEN_SATURATION, "&image_c0_saturation=%d", param.iSaturation);
    pairs.AddGiven(GIVEN_SHARPNESS, "&image_c0_sharpness=%d", param.iSharpness);
    pairs.AddGiven(GIVEN_WHITE_BALANCE, "&videoin_c0_whitebalance=%s", param.acWhiteBalance);
    pairs.AddGiven(GIVEN_MAX_EXPOSURE, "&videoin_c0_maxexposure=%d", param.iMaxExposure);
    pairs.AddGiven(GIVEN_BACKLIGHT_COMP, "&videoin_c0_enableblc=%d", param.iBacklightComp);
    pairs.AddGiven(GIVEN_MIRROR, "&videoin_c0_mirror=%d", param.iMirror);
    pairs.AddGiven(GIVEN_FLIP, "&videoin_c0_flip=%d", param.iFlip);
    pairs.AddGiven(GIVEN_COLOR, "&videoin_c0_color=%d", param.iColor);
    return Session_WritePairs(slot, pairs, StatusKind::InternalError);
}

int MappingGetRoutine_SensorConfig(SessionSlot &slot)
{
    ConfigerReply<1024> reply(__func__);
    reply.Read(ADJUSTMENTS, Session_Result<Result>(slot));
    return reply.Failed() ? Session_Fail(slot, StatusKind::InternalError) : Session_Succeed(slot);
}

void Compose_SensorConfig(TextBuilder &body, SessionSlot &slot)
{
    const auto &result = Session_Result<Result>(slot);
    body.Line("brightness=", result.iBrightness);
    body.Line("contrast=", result.iContrast);
    body.Line("saturation=", result.iSaturation);
    body.Line("whitebalance=", result.acWhiteBalance);
    body.Line("maxexposuretime=", result.iMaxExposure);
    body.Line("sharpness=", result.iSharpness);
    body.LineYesNo("backlightcomp=", result.iBacklightComp == 1);
    body.LineOnOff("mirror=", result.iMirror == 1);
    body.LineOnOff("flip=", result.iFlip == 1);
    body.LineYesNo("color=", result.iColor == 1);
}

int MappingGetRoutine_SensorInfo(SessionSlot &slot)
{
    return Session_Succeed(slot);
}

void Compose_SensorInfo(TextBuilder &body, SessionSlot &)
{
    body.Line("brightness=", "-5...5");
    body.Line("contrast=", "-5...5");
    body.Line("saturation=", "-5...5");
    body.Line("whitebalance=", "auto");
    body.Line("maxexposuretime=", "5, 15, 30, 60, 120, 240, 480");
    body.Line("backlightcomp=", "yes");
    body.Line("autoexposure=", "no");
    body.Line("autogainctrl=", "no");
    body.Line("sharpness=", "-3...3");
}
