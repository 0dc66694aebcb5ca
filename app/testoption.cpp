#include "testoption.h"

#include "velutraresources.h"

#include <QLabel>

TestOption::TestOption(QObject *parent)
    : OptionWidgetInterface(parent)
{
    initVelutraResources();
}

QString TestOption::optionName() const
{
    return tr("Test option");
}

QWidget *TestOption::optionWidget(QWidget *parent)
{
    return new QLabel(tr("Hello world - Option Widget"), parent);
}

QIcon TestOption::optionIcon()
{
    const QIcon icon(QStringLiteral(":/OptionWidgets/Images/TestOption_32.png"));
    if (icon.pixmap(32, 32).isNull()) {
        // A resource missing from the binary is a broken build; stop in every build type.
        qt_assert_x("optionIcon", "Resource not found", __FILE__, __LINE__);
    }
    return icon;
}
