// SPDX-License-Identifier: MIT
#pragma once

// The JSON keys of the records, spelled once for the reader and the writer alike. They are the
// records' field names, as the other side of the container expects them.

namespace quelm::detail::keys {

// Item
inline constexpr char id[] = "id";
inline constexpr char title[] = "title";
inline constexpr char category[] = "category";
inline constexpr char isRunning[] = "isRunning";
inline constexpr char transition[] = "transition";
inline constexpr char port[] = "port";
inline constexpr char startedAt[] = "startedAt";

// Group (with id and transition above)
inline constexpr char name[] = "name";
inline constexpr char memberCount[] = "memberCount";
inline constexpr char runningCount[] = "runningCount";
inline constexpr char isActive[] = "isActive";

// Session (with id, title and state)
inline constexpr char project[] = "project";
inline constexpr char state[] = "state";

// Snapshot
inline constexpr char items[] = "items";
inline constexpr char groups[] = "groups";
inline constexpr char sessions[] = "sessions";
inline constexpr char language[] = "language";
inline constexpr char updatedAt[] = "updatedAt";

// Command (with id)
inline constexpr char itemID[] = "itemID";
inline constexpr char action[] = "action";
inline constexpr char issuedAt[] = "issuedAt";

}
