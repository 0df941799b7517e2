#include "daemon/families/events/digital_io.h"

#include "daemon/base/clock.h"
#include "daemon/configer/reply.h"
#include "daemon/families/events/fifo.h"
#include "daemon/request/request_text.h"
#include "platform/log.h"

#include <algorithm>
#include <unistd.h>

namespace
{

constexpr char IO_DAEMON_FIFO[] = "/var/run/iod/iodfifo";
constexpr std::string_view OUTPUT_KEY = "out";
constexpr size_t MAX_STATE_WORD = 15;
constexpr int MAX_WRITES = 6;
constexpr uint32_t WRITE_RETRY_MS = 1;

/** Removes everything up to and including the first `end`; false when there is none. */
bool DropThrough(std::string_view &text, std::string_view end)
{
    const size_t at = text.find(end);
    if (at == std::string_view::npos)
        return false;
    text.remove_prefix(at + end.size());
    return true;
}

/** Reads "out<digit>...=<on|off>&" behind its "out". */
bool TakeCommand(std::string_view text, DIDOConfigParam &param)
{
    if (text.empty() || text.front() < '1' || text.front() > '9')
        return false;
    // KEPT: only one digit is the number; what stands between it and the "=" is passed over.
    const int32_t iOutput = text.front() - '0';
    if (!DropThrough(text, "="))
        return false;
    const size_t end = text.find('&');
    if (end == std::string_view::npos || end > MAX_STATE_WORD)
        return false;
    const std::string_view word(text.data(), end);
    if (word != "on" && word != "off")
        return false;
    param.aiOutput[param.iCount] = iOutput;
    param.aiState[param.iCount] = word == "on" ? 1 : 0;
    param.iCount++;
    return true;
}

/** Walks the items, each of which ends with "&". */
bool TakeCommands(std::string_view text, DIDOConfigParam &param)
{
    do {
        // KEPT: the search may run into later items, so what stands before an "out" item repeats it.
        std::string_view command = text;
        if (!DropThrough(command, OUTPUT_KEY))
            return true;
        if (!TakeCommand(command, param))
            return false;
        DropThrough(text, "&");
    } while (param.iCount < MAX_IO && text.find('&') != std::string_view::npos);
    return true;
}

/** Writes one command to the FIFO; a full pipe is given a few more chances. Returns 0 or -1. */
int SendOutput(const char *pcCaller, int iFifo, int32_t iOutput, int32_t iState)
{
    TextBuffer<32> command;
    command.Addf("setdo %d %d", iOutput, iState);
    for (int i = 0; i < MAX_WRITES; ++i) {
        const ssize_t written = write(iFifo, command.Text(), command.Length());
        if (written >= 1) {
            Trace("%d bytes %s sent to IOD!\n", static_cast<int>(written), command.Text());
            return 0;
        }
        NetUtility_SleepMs(WRITE_RETRY_MS);
    }
    Trace("[%s]Send setdo to IOD fifo failed!\n", pcCaller);
    Log_Crit("[%s]Send setdo to IOD fifo failed\n", pcCaller);
    return -1;
}

int SendCommands(const char *pcCaller, const DIDOConfigParam &param)
{
    int iFifo = -1;
    if (CfgParser_GetFIFO(IO_DAEMON_FIFO, &iFifo, 1) != 0)
        return -1;
    int iResult = 0;
    for (int32_t i = 0; i < param.iCount && iResult == 0; ++i)
        iResult = SendOutput(pcCaller, iFifo, param.aiOutput[i] - 1, param.aiState[i]);
    close(iFifo);
    return iResult;
}

constexpr ReadRow<DIDOConfigResult> COUNTS[] = {
    ReadInt<&DIDOConfigResult::iInputs>("capability_ndi"),
    ReadInt<&DIDOConfigResult::iOutputs>("capability_ndo"),
};
constexpr std::string_view INPUT_KEY = "status_di_i#";
constexpr std::string_view OUTPUT_STATE_KEY = "status_do_i#";

void ReadStates(ConfigerReader &reply, DIDOConfigResult &result)
{
    if (result.iInputs + result.iOutputs == 0)
        return;
    TextBuffer<1024> keys;
    for (int32_t i = 0; i < result.iInputs; ++i)
        Read_AddKey(keys, INPUT_KEY, {i});
    for (int32_t i = 0; i < result.iOutputs; ++i)
        Read_AddKey(keys, OUTPUT_STATE_KEY, {i});
    reply.AskFor(keys.View());
    for (int32_t i = 0; i < result.iInputs; ++i)
        reply.Bool(StoreKey(INPUT_KEY, {i}), result.aiInputState[i]);
    for (int32_t i = 0; i < result.iOutputs; ++i)
        reply.Bool(StoreKey(OUTPUT_STATE_KEY, {i}), result.aiOutputState[i]);
}

} // namespace

int Parser_DIDOConfig_Set(SessionSlot &slot)
{
    std::string_view text;
    if (Parser_Begin(slot, SetIndex::DIDOConfig, __func__, text) != 0)
        return -1;
    if (!TakeCommands(text, Session_Param<DIDOConfigParam>(slot)))
        return Session_Refuse(slot, StatusKind::BadRequest);
    return Session_Accept(slot);
}

int MappingSetRoutine_DIDOConfig(SessionSlot &slot)
{
    const auto &param = Session_Param<DIDOConfigParam>(slot);
    if (param.iCount == 0)
        return Session_Refuse(slot, StatusKind::BadRequest);
    return SendCommands(__func__, param) == 0 ? Session_Succeed(slot)
                                              : Session_Fail(slot, StatusKind::InternalError);
}

int MappingGetRoutine_DIDOConfig(SessionSlot &slot)
{
    auto &result = Session_Result<DIDOConfigResult>(slot);
    ConfigerReply<1024> reply(__func__);
    reply.Read(COUNTS, result);
    result.iInputs = std::clamp(result.iInputs, 0, MAX_IO);
    result.iOutputs = std::clamp(result.iOutputs, 0, MAX_IO);
    ReadStates(reply, result);
    return reply.Failed() ? Session_Fail(slot, StatusKind::InternalError) : Session_Succeed(slot);
}

void Compose_DIDOConfig(TextBuilder &body, SessionSlot &slot)
{
    const auto &result = Session_Result<DIDOConfigResult>(slot);
    for (int32_t i = 0; i < result.iInputs; ++i)
        body.Addf("in%d=%s\r\n", i + 1, result.aiInputState[i] == 1 ? "on" : "off");
    for (int32_t i = 0; i < result.iOutputs; ++i)
        body.Addf("out%d=%s\r\n", i + 1, result.aiOutputState[i] == 1 ? "on" : "off");
}
