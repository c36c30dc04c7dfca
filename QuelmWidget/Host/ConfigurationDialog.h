// SPDX-License-Identifier: MIT
#pragma once

#include "Widget/WidgetSortOrder.h"

#include <QDialog>

class QComboBox;

namespace quelm::host {

// The edit sheet of one placed widget: its one parameter, "Ordenar por", offered with the sort
// orders' display texts. A choice applies at once (`sortOrderChosen`); "Concluído" closes.
class ConfigurationDialog : public QDialog {
    Q_OBJECT

public:
    explicit ConfigurationDialog(WidgetSortOrder current, QWidget* parent = nullptr);

    WidgetSortOrder sortOrder() const;
    // Picks `order` as if the user had chosen it.
    void choose(WidgetSortOrder order);

signals:
    void sortOrderChosen(quelm::WidgetSortOrder order);

private:
    QComboBox* m_sortOrder;
};

}
