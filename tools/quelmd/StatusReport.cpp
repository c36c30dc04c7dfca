// SPDX-License-Identifier: MIT
#include "StatusReport.h"

#include "ReportFiles.h"

#include <nlohmann/json.hpp>

namespace quelmd {

std::string encodeStatusReport(const StatusReport& report)
{
    nlohmann::json services = nlohmann::json::array();
    for (const ServiceStatus& service : report.services) {
        nlohmann::json entry { { "id", service.id }, { "title", service.title }, { "unit", service.unit }, { "state", service.state } };
        if (service.port)
            entry["port"] = *service.port;
        if (service.lastFailure)
            entry["lastFailure"] = { { "at", service.lastFailure->at.secondsSince1970() }, { "reason", service.lastFailure->reason } };
        services.push_back(std::move(entry));
    }
    nlohmann::json document {
        { "updatedAt", report.updatedAt.secondsSince1970() },
        { "pid", report.pid },
        { "container", report.container },
        { "configuration", report.configuration },
        { "services", std::move(services) },
    };
    if (report.configurationError)
        document["configurationError"] = *report.configurationError;
    return document.dump();
}

std::optional<StatusReport> decodeStatusReport(const std::string& text)
{
    try {
        const nlohmann::json document = nlohmann::json::parse(text);
        StatusReport report;
        report.updatedAt = quelm::Date(document.at("updatedAt").get<double>());
        report.pid = document.at("pid").get<std::int64_t>();
        report.container = document.at("container").get<std::string>();
        report.configuration = document.at("configuration").get<std::string>();
        if (document.contains("configurationError"))
            report.configurationError = document["configurationError"].get<std::string>();
        for (const nlohmann::json& entry : document.at("services")) {
            ServiceStatus service { entry.at("id").get<std::string>(), entry.at("title").get<std::string>(),
                entry.at("unit").get<std::string>(), entry.at("state").get<std::string>(), std::nullopt, std::nullopt };
            if (entry.contains("port"))
                service.port = entry["port"].get<std::uint16_t>();
            if (entry.contains("lastFailure"))
                service.lastFailure = ServiceFailure { quelm::Date(entry["lastFailure"].at("at").get<double>()),
                    entry["lastFailure"].at("reason").get<std::string>() };
            report.services.push_back(std::move(service));
        }
        return report;
    } catch (const nlohmann::json::exception&) {
        return std::nullopt;
    }
}

void writeStatusReport(const std::filesystem::path& runtimeFolder, const StatusReport& report)
{
    detail::writeReportFile(runtimeFolder / "status.json", encodeStatusReport(report));
}

std::optional<StatusReport> readStatusReport(const std::filesystem::path& runtimeFolder)
{
    const std::optional<std::string> text = detail::readReportFile(runtimeFolder / "status.json");
    return text ? decodeStatusReport(*text) : std::nullopt;
}

}
