// SPDX-License-Identifier: MIT
#pragma once

#include "Host/WidgetInstance.h"

#include <QString>

#include <optional>
#include <string>
#include <vector>

namespace quelm::host {

// The placed widgets, kept in widgets.json between runs of the host:
//   {"widgets": [{"id", "family", "sortOrder", "position": {"x", "y"}}, ...]}
// Loading never fails: a missing file gives one medium widget, and so does an unreadable one (not
// JSON, no "widgets" list), which is first moved aside to widgets.json.bad so the user can still
// look at it. A bad value inside a widget costs that value alone: it takes its default for that
// widget and the rest of the list loads as saved. Saving replaces the file atomically, so a crash
// leaves the old list or the new one, never half of either.
class InstanceStore {
public:
    explicit InstanceStore(QString filePath)
        : m_filePath(std::move(filePath))
    {
    }

    // $XDG_CONFIG_HOME/quelm/widgets.json, XDG_CONFIG_HOME defaulting to ~/.config; none when
    // neither an absolute XDG_CONFIG_HOME nor HOME is known.
    static std::optional<QString> defaultFilePath();

    struct Loaded {
        std::vector<WidgetInstance> instances;
        // What the user should be told, when something was wrong with the file.
        std::optional<QString> problem;
        // Whether the file was moved aside.
        bool movedAside = false;
    };
    Loaded load() const;

    // Throws std::runtime_error when the file cannot be written.
    void save(const std::vector<WidgetInstance>&) const;

    static QByteArray encode(const std::vector<WidgetInstance>&);
    // Throws std::invalid_argument for a document that is not a list of widgets. Entries that are
    // not objects are left out, an id used twice is replaced, and each value that cannot be read
    // takes its default; each of these adds a line to `repairs` when given.
    static std::vector<WidgetInstance> decode(const QByteArray&, std::vector<std::string>* repairs = nullptr);

    const QString& filePath() const { return m_filePath; }
    QString damagedFilePath() const { return m_filePath + QStringLiteral(".bad"); }

private:
    QString m_filePath;
};

}
