// SPDX-License-Identifier: MIT
#include "Host/ConfigurationDialog.h"

#include "Host/ApplicationIcon.h"
#include "Host/HostTexts.h"
#include "Widget/QuelmWidgetBundle.h"
#include "Widget/QuelmWidgetConfiguration.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace quelm::host {

ConfigurationDialog::ConfigurationDialog(WidgetSortOrder current, QWidget* parent)
    : QDialog(parent)
    , m_sortOrder(new QComboBox(this))
{
    setWindowTitle(widgetText(QuelmWidget::configurationDisplayName));
    setWindowIcon(applicationIcon());

    const auto& parameter = QuelmWidgetConfiguration::sortOrderParameter();
    for (const WidgetSortOrder order : parameter.options)
        m_sortOrder->addItem(widgetText(WidgetSortOrderInfo::displayText(order)), static_cast<int>(order));
    m_sortOrder->setCurrentIndex(m_sortOrder->findData(static_cast<int>(current)));

    auto* description = new QLabel(widgetText(QuelmWidget::description), this);
    description->setWordWrap(true);

    auto* form = new QFormLayout;
    form->addRow(widgetText(parameter.title), m_sortOrder);

    auto* buttons = new QDialogButtonBox(this);
    QPushButton* done = buttons->addButton(hostText(HostTexts::done), QDialogButtonBox::AcceptRole);
    done->setDefault(true);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(description);
    layout->addLayout(form);
    layout->addWidget(buttons);

    connect(m_sortOrder, &QComboBox::currentIndexChanged, this, [this] { emit sortOrderChosen(sortOrder()); });
}

WidgetSortOrder ConfigurationDialog::sortOrder() const
{
    return static_cast<WidgetSortOrder>(m_sortOrder->currentData().toInt());
}

void ConfigurationDialog::choose(WidgetSortOrder order)
{
    m_sortOrder->setCurrentIndex(m_sortOrder->findData(static_cast<int>(order)));
}

}
