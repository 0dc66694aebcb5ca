#include "reconnectoption.h"

#include "applicationidentity.h"

#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QSettings>
#include <QStyle>
#include <QVBoxLayout>

namespace {

QSettings optionSettings()
{
    return QSettings(QSettings::IniFormat, QSettings::UserScope,
                     QString::fromLatin1(ApplicationIdentity::OrganizationName),
                     QString::fromLatin1(ApplicationIdentity::ApplicationName));
}

} // namespace

ReconnectOption::ReconnectOption(QObject *parent)
    : OptionWidgetInterface(parent)
{ }

bool ReconnectOption::isReconnectEnabled()
{
    return optionSettings().value(QString::fromLatin1(SettingsKey), true).toBool();
}

void ReconnectOption::setReconnectEnabled(bool enabled)
{
    QSettings settings = optionSettings();
    settings.setValue(QString::fromLatin1(SettingsKey), enabled);
}

QString ReconnectOption::optionName() const
{
    return tr("Connection");
}

QWidget *ReconnectOption::optionWidget(QWidget *parent)
{
    auto *page = new QWidget(parent);
    page->setObjectName(QStringLiteral("reconnectOptionPage"));
    auto *layout = new QVBoxLayout(page);
    auto *box = new QCheckBox(tr("Reconnect when the laser's port goes away"), page);
    box->setObjectName(QStringLiteral("reconnectCheckBox"));
    box->setChecked(isReconnectEnabled());
    layout->addWidget(box);
    auto *note = new QLabel(tr("The port is looked for every two seconds, also under another "
                               "name if it is a USB adapter with a serial number, until it is "
                               "back or you choose Disconnect. Nothing is set on the laser "
                               "when it is back: the panel is read from the device anew."),
                            page);
    note->setWordWrap(true);
    layout->addWidget(note);
    layout->addStretch(1);
    connect(box, &QCheckBox::toggled, this, &ReconnectOption::changed);
    m_reconnectBox = box;
    return page;
}

void ReconnectOption::apply()
{
    if (m_reconnectBox) {
        setReconnectEnabled(m_reconnectBox->isChecked());
    }
}

QIcon ReconnectOption::optionIcon()
{
    return QApplication::style()->standardIcon(QStyle::SP_BrowserReload);
}
