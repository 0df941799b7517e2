#include "daemon/families/events/trigger.h"

#include "daemon/request/request_text.h"

namespace
{
constexpr int32_t INPUT_1 = 0x1;
constexpr int32_t INPUT_2 = 0x2;
} // namespace

int Trigger_FromRequest(std::string_view text, std::string_view motionKey, std::string_view in1Key,
                        std::string_view in2Key, EventTrigger &trigger)
{
    return GetBoolTripleFromText(text, motionKey, in1Key, in2Key, trigger.iByMotion, trigger.iByIn1,
                                 trigger.iByIn2);
}

void Trigger_AddPairs(TextBuilder &pairs, int32_t iEventSlot, const EventTrigger &trigger, const char *pcNone)
{
    const int32_t iInputs = (trigger.iByIn1 == 1 ? INPUT_1 : 0) | (trigger.iByIn2 == 1 ? INPUT_2 : 0);
    if (trigger.iByMotion == 1)
        pairs.Addf("event_i%d_trigger=motion&", iEventSlot);
    else if (iInputs != 0)
        pairs.Addf("event_i%d_trigger=di&event_i%d_di=%d&", iEventSlot, iEventSlot, iInputs);
    else
        pairs.Addf("event_i%d_trigger=%s&", iEventSlot, pcNone);
}

int GetEventTriggerFromText(std::string_view reply, EventTrigger &trigger, int32_t iEventSlot)
{
    char acTrigger[16];
    if (Get_Configer_STRING_Value(reply, StoreKey(TRIGGER_KEY, {iEventSlot}).View(), acTrigger) != 0)
        return -1;
    const std::string_view word = acTrigger;
    if (word.starts_with("motion"))
        trigger.iByMotion = 1;
    if (!word.starts_with("di"))
        return 0;
    int32_t iInputs = 0;
    if (Get_Configer_INT_Value(reply, StoreKey(TRIGGER_INPUTS_KEY, {iEventSlot}).View(), iInputs) != 0)
        return -1;
    if ((iInputs & INPUT_1) != 0)
        trigger.iByIn1 = 1;
    if ((iInputs & INPUT_2) != 0)
        trigger.iByIn2 = 1;
    return 0;
}

void Trigger_Read(ConfigerReader &reply, int32_t iEventSlot, EventTrigger &trigger)
{
    if (GetEventTriggerFromText(reply.View(), trigger, iEventSlot) != 0)
        reply.Fail();
}

void Trigger_Compose(TextBuilder &body, const EventTrigger &trigger)
{
    body.Addf("<triggerBy><byMotion>%d</byMotion><byIn1>%d</byIn1><byIn2>%d</byIn2></triggerBy>", trigger.iByMotion,
              trigger.iByIn1, trigger.iByIn2);
}
