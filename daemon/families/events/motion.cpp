#include "daemon/families/events/motion.h"

#include "daemon/base/text_finder.h"
#include "daemon/configer/pairs.h"
#include "daemon/configer/reply.h"
#include "daemon/request/keys.h"
#include "daemon/request/request_text.h"

#include <algorithm>

namespace
{

constexpr uint32_t GIVEN_SENSITIVITY = 0x1;
constexpr uint32_t GIVEN_PERCENTAGE = 0x2;

constexpr uint32_t GivenEnable(int32_t iWindow)
{
    return 1U << (iWindow + 8);
}

constexpr uint32_t GivenRectangle(int32_t iWindow)
{
    return 1U << (iWindow + 16);
}

constexpr std::string_view ENABLE_KEY = "motion_c0_win_i#_enable";

constexpr int32_t MAX_LEFT = 320;
constexpr int32_t MAX_TOP = 240;

/** KEPT: the passive infrared sensor cannot be set here; a request that tries is refused. */
bool RefusePir(std::string_view, MotionParam &)
{
    return false;
}

constexpr KeyRow<MotionParam> KEYS[] = {
    KeyInt<&MotionParam::iSensitivity>("sensitivity=", GIVEN_SENSITIVITY, 0, 100),
    KeyInt<&MotionParam::iPercentage>("percentage=", GIVEN_PERCENTAGE, 0, 100),
    KeySpecial<RefusePir, MAX_KEY_TEXT>("pir=", 0),
};
static_assert(KeyBitsAreDistinct(KEYS));

/** Takes "enable<n>=" and "mdw<n>=" of a window; false when one is given and bad. */
bool TakeWindow(std::string_view text, int32_t iWindow, MotionParam &param)
{
    MotionWindow &window = param.atWindows[iWindow];
    const KeyOutcome outcome =
        Request_TakeWord(text, Key("enable%d=", iWindow + 1), "yes", "no", window.iEnable, MAX_INT_TEXT);
    if (outcome == KeyOutcome::Bad)
        return false;
    if (outcome == KeyOutcome::Taken)
        param.uiSetMask |= GivenEnable(iWindow);
    char acRectangle[MAX_INT_TEXT + 1];
    if (GetStringValueFromText(text, Key("mdw%d=", iWindow + 1), acRectangle) != 0)
        return true;
    int32_t aiRectangle[4];
    if (Text_ScanInts(acRectangle, ',', aiRectangle) != 0)
        return false;
    window.iLeft = aiRectangle[0];
    window.iTop = aiRectangle[1];
    window.iWidth = aiRectangle[2];
    window.iHeight = aiRectangle[3];
    param.uiSetMask |= GivenRectangle(iWindow);
    return IsWithin(window.iLeft, 0, MAX_LEFT) && IsWithin(window.iTop, 0, MAX_TOP) &&
           IsWithin(window.iWidth, 0, MAX_LEFT) && IsWithin(window.iHeight, 0, MAX_TOP);
}

void AddWindowPairs(PairBuilder &pairs, const MotionParam &param, int32_t iWindow)
{
    pairs.AddGiven(GIVEN_SENSITIVITY, "motion_c0_win_i%d_sensitivity=%d&", iWindow, param.iSensitivity);
    pairs.AddGiven(GIVEN_PERCENTAGE, "motion_c0_win_i%d_objsize=%d&", iWindow, param.iPercentage);
    if (iWindow >= MOTION_REQUEST_WINDOWS)
        return;
    const MotionWindow &window = param.atWindows[iWindow];
    pairs.AddGiven(GivenEnable(iWindow),
                   "motion_c0_win_i%1$d_enable=%2$d&motion_c0_win_i%1$d_name=kelpa_motion_%3$d&", iWindow,
                   window.iEnable, iWindow + 1);
    pairs.AddGiven(GivenRectangle(iWindow),
                   "motion_c0_win_i%5$d_left=%1$d&motion_c0_win_i%5$d_top=%2$d&motion_c0_win_i%5$d_width=%3$d&"
                   "motion_c0_win_i%5$d_height=%4$d&",
                   window.iLeft, window.iTop, window.iWidth, window.iHeight, iWindow);
}

/** Reads which windows are on, as a mask with a bit for each. */
int ReadWindowMask(const char *pcCaller, int32_t iCount, int32_t &iMask)
{
    TextBuffer<1024> keys;
    for (int32_t i = 0; i < iCount; ++i)
        Read_AddKey(keys, ENABLE_KEY, {i});
    ConfigerReply<1024> reply(pcCaller);
    reply.AskFor(keys.View());
    iMask = 0;
    for (int32_t i = 0; i < iCount; ++i) {
        int32_t iEnable = 0;
        reply.Bool(StoreKey(ENABLE_KEY, {i}), iEnable);
        iMask |= iEnable << i;
    }
    return reply.Failed() ? -1 : 0;
}

constexpr ReadRow<MotionResult> SETTINGS[] = {
    ReadInt<&MotionResult::iWindowCount>("capability_nmotion"),
    ReadBool<&MotionResult::iEnable>("motion_c0_enable"),
    ReadInt<&MotionResult::iPercentage>("motion_c0_win_i0_objsize"),
    ReadInt<&MotionResult::iSensitivity>("motion_c0_win_i0_sensitivity"),
};
// A window's keys are asked for with "=" as well.
constexpr ReadRow<MotionWindow> WINDOW_SWITCH[] = {ReadBool<&MotionWindow::iEnable>(ENABLE_KEY).AskedWith("=&")};
constexpr ReadRow<MotionWindow> WINDOW[] = {
    ReadInt<&MotionWindow::iLeft>("motion_c0_win_i#_left").AskedWith("=&"),
    ReadInt<&MotionWindow::iTop>("motion_c0_win_i#_top").AskedWith("=&"),
    ReadInt<&MotionWindow::iWidth>("motion_c0_win_i#_width").AskedWith("=&"),
    ReadInt<&MotionWindow::iHeight>("motion_c0_win_i#_height").AskedWith("=&"),
};

/** Reads the windows; whether one is on matters only while the switch of all is. */
void ReadWindows(ConfigerReader &reply, MotionResult &result)
{
    TextBuffer<1024> keys;
    for (int32_t i = 0; i < result.iWindowCount; ++i) {
        Read_AddKeys(keys, WINDOW_SWITCH, {i});
        Read_AddKeys(keys, WINDOW, {i});
    }
    reply.AskFor(keys.View());
    for (int32_t i = 0; i < result.iWindowCount; ++i) {
        if (result.iEnable == 1)
            reply.Take(WINDOW_SWITCH, result.atWindows[i], {i});
        reply.Take(WINDOW, result.atWindows[i], {i});
    }
}

} // namespace

int Parser_Motion_Set(SessionSlot &slot)
{
    std::string_view text;
    if (Parser_Begin(slot, SetIndex::Motion, __func__, text) != 0)
        return -1;
    auto &param = Session_Param<MotionParam>(slot);
    bool good = Request_TakeKeys(text, KEYS, param) == 0;
    for (int32_t i = 0; good && i < MOTION_REQUEST_WINDOWS; ++i)
        good = TakeWindow(text, i, param);
    return good ? Session_Accept(slot) : Session_Refuse(slot, StatusKind::BadRequest);
}

int MappingSetRoutine_Motion(SessionSlot &slot)
{
    auto &param = Session_Param<MotionParam>(slot);
    ConfigerReply<1024> reply(__func__);
    reply.ReadInt("capability_nmotion", param.iWindowCount);
    param.iWindowCount = std::min(param.iWindowCount, MOTION_MAX_WINDOWS);
    if (reply.Failed())
        return Session_Fail(slot, StatusKind::InternalError);

    PairBuffer<1024> pairs(param.uiSetMask);
    for (int32_t i = 0; i < param.iWindowCount; ++i) {
        PairBuffer<256> window(param.uiSetMask); // 231 characters with everything
        AddWindowPairs(window, param, i);
        // Everything for five windows is more than one text holds; a window is never spread over two.
        if (Session_AddPairs(slot, pairs, window, StatusKind::InternalError) != 0)
            return -1;
    }
    if (Session_WritePairs(slot, pairs, StatusKind::InternalError) != 0)
        return -1;

    int32_t iMask = 0;
    if (ReadWindowMask(__func__, param.iWindowCount, iMask) != 0)
        return Session_Fail(slot, StatusKind::InternalError);
    pairs.Clear();
    pairs.Addf("motion_c0_enable=%1$d&event_i0_mdwin=%2$d&event_i1_mdwin=%2$d&event_i2_mdwin=%2$d&",
               iMask != 0 ? 1 : 0, iMask);
    return Session_WritePairs(slot, pairs, StatusKind::InternalError);
}

int MappingGetRoutine_Motion(SessionSlot &slot)
{
    auto &result = Session_Result<MotionResult>(slot);
    ConfigerReply<2048> reply(__func__); // eight windows have more than 1024 bytes to say
    reply.Read(SETTINGS, result);
    result.iWindowCount = std::min(result.iWindowCount, MOTION_MAX_WINDOWS);
    if (!reply.Failed() && result.iWindowCount >= 1)
        ReadWindows(reply, result);
    return reply.Failed() ? Session_Fail(slot, StatusKind::InternalError) : Session_Succeed(slot);
}

void Compose_Motion(TextBuilder &body, SessionSlot &slot)
{
    const auto &result = Session_Result<MotionResult>(slot);
    body.Line("totalnum=", result.iWindowCount);
    body.Line("sensitivity=", result.iSensitivity);
    body.Line("percentage=", result.iPercentage);
    for (int32_t i = 0; i < result.iWindowCount; ++i) {
        const MotionWindow &window = result.atWindows[i];
        body.Addf("enable%d=%s\r\n", i + 1, window.iEnable == 1 ? "yes" : "no");
        body.Addf("mdw%d=%d,%d,%d,%d\r\n", i + 1, window.iLeft, window.iTop, window.iWidth, window.iHeight);
    }
}
