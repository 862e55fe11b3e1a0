#pragma once

#include <string>
#include <vector>

#include "ChatModel/Timeline.h"
#include "Time/Calendar.h"
#include "tessel/Drawing.h"

namespace tessel {

/// The rows of a view of messages for a terminal, in lines that are ended; days and times are the calendar's. Texts are
/// shown as they are, their control characters spelled out.
std::string drawTimeline(const std::vector<ChatModel::TimelineItem>& items, const Time::Calendar& calendar,
                         const Screen& screen);

}  // namespace tessel
