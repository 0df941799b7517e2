#pragma once

#include "daemon/base/text_builder.h"
#include "daemon/configer/reply.h"

#include <cstdint>
#include <string_view>

/* What sets an event slot of the store off: motion, or the inputs 1 and 2; never both kinds. */

struct EventTrigger {
    int32_t iByMotion;
    int32_t iByIn1;
    int32_t iByIn2;
};

inline constexpr std::string_view TRIGGER_KEY = "event_i#_trigger";
inline constexpr std::string_view TRIGGER_INPUTS_KEY = "event_i#_di";
/** What has to be asked for before Trigger_Read. */
inline constexpr ReadRow<EventTrigger> TRIGGER_KEYS[] = {AskOnly(TRIGGER_KEY), AskOnly(TRIGGER_INPUTS_KEY)};

inline bool Trigger_Any(const EventTrigger &trigger)
{
    return trigger.iByMotion == 1 || trigger.iByIn1 == 1 || trigger.iByIn2 == 1;
}

/** Takes the three flags of a request, all of which must be given. Returns 0 or -1. */
[[nodiscard]] int Trigger_FromRequest(std::string_view text, std::string_view motionKey, std::string_view in1Key,
                                      std::string_view in2Key, EventTrigger &trigger);

/** Appends the event slot's trigger; `pcNone` is the word for no trigger. */
void Trigger_AddPairs(TextBuilder &pairs, int32_t iEventSlot, const EventTrigger &trigger, const char *pcNone);

/**
 * Takes an event slot's trigger out of a store reply. Only ever sets flags, so they must be 0 before. Returns 0, or
 * -1 when the trigger, or for inputs their mask, is missing or too long.
 */
[[nodiscard]] int GetEventTriggerFromText(std::string_view reply, EventTrigger &trigger, int32_t iEventSlot);

/** GetEventTriggerFromText of what was read; its failure is the reader's. */
void Trigger_Read(ConfigerReader &reply, int32_t iEventSlot, EventTrigger &trigger);

/** Writes the <triggerBy> element. */
void Trigger_Compose(TextBuilder &body, const EventTrigger &trigger);
