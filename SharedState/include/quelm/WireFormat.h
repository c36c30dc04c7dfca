// SPDX-License-Identifier: MIT
#pragma once

#include <quelm/WidgetCommand.h>
#include <quelm/WidgetGroup.h>
#include <quelm/WidgetItem.h>
#include <quelm/WidgetSession.h>
#include <quelm/WidgetSnapshot.h>

#include <map>
#include <stdexcept>
#include <string>
#include <string_view>

namespace quelm {

// The pending marks: item id → the command last marked for it.
using PendingCommands = std::map<std::string, WidgetCommand>;

// A document that is not a valid record. `path()` names the bad value, e.g. "items[2].transition"
// (empty for the document itself); what() reads "items[2].transition: unknown value \"Starting\"".
class DecodingError : public std::runtime_error {
public:
    DecodingError(std::string path, const std::string& problem);
    const std::string& path() const { return m_path; }
    const std::string& problem() const { return m_problem; }

private:
    std::string m_path;
    std::string m_problem;
};

// A record holding a string that is not valid UTF-8 cannot be written as JSON.
class EncodingError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The wire form shared by app and widget: compact JSON, keys equal to field names, dates as
// seconds since 1970, absent optionals omitted. `encode` throws EncodingError, `decode` DecodingError.
std::string encode(const WidgetItem&);
std::string encode(const WidgetGroup&);
std::string encode(const WidgetSession&);
std::string encode(const WidgetSnapshot&);
std::string encode(const WidgetCommand&);
std::string encode(const PendingCommands&);

template<class Record>
Record decode(std::string_view json);

template<>
WidgetItem decode<WidgetItem>(std::string_view);
template<>
WidgetGroup decode<WidgetGroup>(std::string_view);
template<>
WidgetSession decode<WidgetSession>(std::string_view);
template<>
WidgetSnapshot decode<WidgetSnapshot>(std::string_view);
template<>
WidgetCommand decode<WidgetCommand>(std::string_view);
template<>
PendingCommands decode<PendingCommands>(std::string_view);

}
