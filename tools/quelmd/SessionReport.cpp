// SPDX-License-Identifier: MIT
#include "SessionReport.h"

#include "ReportFiles.h"

#include <quelm/WireFormat.h>

#include <nlohmann/json.hpp>

#include <algorithm>

namespace quelmd {

namespace detail {

// Ids are free text; a file name keeps letters, digits, '-', '_' and '.', and escapes the rest
// as %XX, so no id can climb out of the folder.
std::string fileNameFor(const std::string& id)
{
    static constexpr char hex[] = "0123456789ABCDEF";
    std::string name;
    for (const char c : id) {
        const auto byte = static_cast<unsigned char>(c);
        if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_'
            || (c == '.' && !name.empty()))
            name += c;
        else {
            name += '%';
            name += hex[byte >> 4];
            name += hex[byte & 15];
        }
    }
    return name + ".json";
}

std::optional<SessionReport> decodeReport(const std::string& text)
{
    try {
        const nlohmann::json document = nlohmann::json::parse(text);
        const auto state = quelm::fromRawValue<quelm::WidgetSession::State>(document.at("state").get<std::string>());
        if (!state)
            return std::nullopt;
        SessionReport report { quelm::WidgetSession { document.at("id").get<std::string>(), document.at("title").get<std::string>(),
                                   document.at("project").get<std::string>(), *state },
            std::nullopt, quelm::Date(document.at("updatedAt").get<double>()) };
        if (document.contains("open") && document["open"].is_string())
            report.openCommand = document["open"].get<std::string>();
        return report;
    } catch (const nlohmann::json::exception&) {
        return std::nullopt;
    }
}

}

std::filesystem::path sessionsFolderIn(const std::filesystem::path& runtimeFolder)
{
    return runtimeFolder / "sessions";
}

void writeSessionReport(const std::filesystem::path& sessionsFolder, const SessionReport& report)
{
    nlohmann::json document {
        { "id", report.session.id },
        { "title", report.session.title },
        { "project", report.session.project },
        { "state", std::string(quelm::rawValue(report.session.state)) },
        { "updatedAt", report.updatedAt.secondsSince1970() },
    };
    if (report.openCommand)
        document["open"] = *report.openCommand;
    detail::writeReportFile(sessionsFolder / detail::fileNameFor(report.session.id), document.dump());
}

bool removeSessionReport(const std::filesystem::path& sessionsFolder, const std::string& id)
{
    std::error_code error;
    return std::filesystem::remove(sessionsFolder / detail::fileNameFor(id), error);
}

std::vector<SessionReport> readSessionReports(const std::filesystem::path& sessionsFolder)
{
    std::vector<SessionReport> reports;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(sessionsFolder, error), end; !error && entry != end; entry.increment(error)) {
        if (entry->path().extension() != ".json")
            continue;
        if (const std::optional<std::string> text = detail::readReportFile(entry->path()))
            if (std::optional<SessionReport> report = detail::decodeReport(*text))
                reports.push_back(std::move(*report));
    }
    std::sort(reports.begin(), reports.end(), [](const SessionReport& a, const SessionReport& b) { return a.session.id < b.session.id; });
    return reports;
}

std::optional<SessionReport> readSessionReport(const std::filesystem::path& sessionsFolder, const std::string& id)
{
    const std::optional<std::string> text = detail::readReportFile(sessionsFolder / detail::fileNameFor(id));
    if (!text)
        return std::nullopt;
    std::optional<SessionReport> report = detail::decodeReport(*text);
    if (report && report->session.id != id)
        return std::nullopt;
    return report;
}

}
