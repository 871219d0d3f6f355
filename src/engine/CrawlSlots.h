#pragma once

#include <optional>

namespace corvane::crawl {

// Slot numbers tell an arriving page where it came from: 1 is the query or start page,
// 2 to 6 the main pages, 7 to 50 the link pages.
inline constexpr int kQuerySlot = 1;
inline constexpr int kFirstMainSlot = 2;
inline constexpr int kMainBurst = 5;
inline constexpr int kFirstLinkSlot = 7;
inline constexpr int kLinkBurst = 44;
inline constexpr int kLastSlot = 50;

// Each group has its own analyser, so two pages of different groups never share an
// analyser's working state.
inline constexpr int kSlotGroups = 7;

// The crawl timer leaves every page of a burst its full time-out before the next burst
// reuses the slot numbers.
inline constexpr int kTickMarginMs = 1500;

constexpr bool isValidSlot(int slot)
{
    return slot >= kQuerySlot && slot <= kLastSlot;
}

// 0 for slot 1; 1 for 2-6; 2 for 7-15; 3 for 16-24; 4 for 25-32; 5 for 33-40; 6 for 41-50.
constexpr std::optional<int> slotGroup(int slot)
{
    if (!isValidSlot(slot))
        return std::nullopt;
    constexpr int lastOfGroup[kSlotGroups] = {1, 6, 15, 24, 32, 40, 50};
    int group = 0;
    while (slot > lastOfGroup[group])
        ++group;
    return group;
}

constexpr int crawlTickMs(int pageTimeoutMs)
{
    return pageTimeoutMs + kTickMarginMs;
}

} // namespace corvane::crawl
