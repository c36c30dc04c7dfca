// SPDX-License-Identifier: MIT
#include "Host/InstanceStore.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>
#include <QSaveFile>
#include <QSet>

#include <cstdlib>
#include <stdexcept>

namespace quelm::host {

namespace {

// Anything bigger is not a list of a few widgets.
constexpr qint64 largestFile = 1 << 20;

std::optional<QString> absoluteDirectory(const char* variable)
{
    const QString value = QString::fromLocal8Bit(std::getenv(variable));
    if (value.isEmpty() || !QDir::isAbsolutePath(value))
        return std::nullopt;
    return value;
}

}

std::optional<QString> InstanceStore::defaultFilePath()
{
    std::optional<QString> configHome = absoluteDirectory("XDG_CONFIG_HOME");
    if (!configHome) {
        const auto home = absoluteDirectory("HOME");
        if (!home)
            return std::nullopt;
        configHome = *home + QStringLiteral("/.config");
    }
    return *configHome + QStringLiteral("/quelm/widgets.json");
}

QByteArray InstanceStore::encode(const std::vector<WidgetInstance>& instances)
{
    QJsonArray widgets;
    for (const WidgetInstance& instance : instances)
        widgets.append(instance.toJson());
    return QJsonDocument(QJsonObject { { QStringLiteral("widgets"), widgets } }).toJson(QJsonDocument::Indented);
}

std::vector<WidgetInstance> InstanceStore::decode(const QByteArray& bytes, std::vector<std::string>* repairs)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError)
        throw std::invalid_argument("not JSON: " + error.errorString().toStdString() + " at offset " + std::to_string(error.offset));
    if (!document.isObject() || !document.object().value(QLatin1String("widgets")).isArray())
        throw std::invalid_argument("no \"widgets\" list");

    std::vector<WidgetInstance> instances;
    QSet<QString> ids;
    const QJsonArray widgets = document.object().value(QLatin1String("widgets")).toArray();
    for (qsizetype index = 0; index < widgets.size(); ++index) {
        const std::string where = "widgets[" + std::to_string(index) + "]: ";
        if (!widgets.at(index).isObject()) {
            if (repairs)
                repairs->push_back(where + "not a widget; left out");
            continue;
        }
        std::vector<std::string> lines;
        instances.push_back(WidgetInstance::fromJson(widgets.at(index).toObject(), &lines));
        if (ids.contains(instances.back().id)) {
            lines.push_back("the id " + instances.back().id.toStdString() + " is used twice; given a new one");
            instances.back().id = WidgetInstance::placed(WidgetFamily::medium).id;
        }
        ids.insert(instances.back().id);
        if (repairs) {
            for (const std::string& line : lines)
                repairs->push_back(where + line);
        }
    }
    return instances;
}

InstanceStore::Loaded InstanceStore::load() const
{
    QFile file(m_filePath);
    if (!file.exists())
        return { { WidgetInstance::placed(WidgetFamily::medium) }, std::nullopt, false };

    QString reason;
    if (!file.open(QIODevice::ReadOnly)) {
        reason = file.errorString();
    } else if (file.size() > largestFile) {
        reason = QStringLiteral("larger than %1 bytes").arg(largestFile);
    } else {
        try {
            std::vector<std::string> repairs;
            Loaded loaded { decode(file.readAll(), &repairs), std::nullopt, false };
            if (!repairs.empty()) {
                QString problem = QStringLiteral("quelm-widget: %1:").arg(m_filePath);
                for (const std::string& repair : repairs)
                    problem += QLatin1Char(' ') + QString::fromStdString(repair) + QLatin1Char('.');
                loaded.problem = problem;
            }
            return loaded;
        } catch (const std::invalid_argument& problem) {
            reason = QString::fromStdString(problem.what());
        }
    }
    file.close();

    QFile::remove(damagedFilePath());
    const bool movedAside = QFile::rename(m_filePath, damagedFilePath());
    QString problem = QStringLiteral("quelm-widget: %1 is damaged (%2); ").arg(m_filePath, reason);
    problem += movedAside ? QStringLiteral("moved it to %1 and ").arg(damagedFilePath()) : QStringLiteral("could not move it aside and ");
    problem += QStringLiteral("placed one medium widget.");
    return { { WidgetInstance::placed(WidgetFamily::medium) }, problem, true };
}

void InstanceStore::save(const std::vector<WidgetInstance>& instances) const
{
    const QFileInfo info(m_filePath);
    if (!QDir().mkpath(info.absolutePath()))
        throw std::runtime_error("cannot create " + info.absolutePath().toStdString());
    QSaveFile file(m_filePath);
    if (!file.open(QIODevice::WriteOnly))
        throw std::runtime_error("cannot write " + m_filePath.toStdString() + ": " + file.errorString().toStdString());
    const QByteArray bytes = encode(instances);
    if (file.write(bytes) != bytes.size() || !file.commit())
        throw std::runtime_error("cannot write " + m_filePath.toStdString() + ": " + file.errorString().toStdString());
}

}
