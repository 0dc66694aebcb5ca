#include "button.h"
#include "combobox.h"
#include "comboslider.h"
#include "dialog.h"
#include "indicator.h"
#include "indicatorbutton.h"
#include "lineedit.h"
#include "mainview.h"

#include <QRandomGenerator>
#include <QSignalSpy>
#include <QtTest>

#include <functional>
#include <limits>
#include <memory>
#include <vector>

// Every setter of every widget, called many times with random and hostile arguments: not one
// change signal may come out, and nothing may crash.
class TestRandomSetters : public QObject
{
    Q_OBJECT

private:
    QRandomGenerator m_random;

    double anyDouble()
    {
        static const double s_hostile[] = {std::numeric_limits<double>::quiet_NaN(),
                                           std::numeric_limits<double>::infinity(),
                                           -std::numeric_limits<double>::infinity(),
                                           0.0,
                                           -0.0,
                                           1e300,
                                           -1e300,
                                           1e-300,
                                           std::numeric_limits<double>::max(),
                                           std::numeric_limits<double>::lowest()};
        switch (m_random.bounded(4)) {
        case 0:
            return s_hostile[m_random.bounded(int(std::size(s_hostile)))];
        case 1:
            return m_random.bounded(200) - 50;
        default:
            return (m_random.generateDouble() - 0.3) * std::pow(10.0, m_random.bounded(8));
        }
    }
    int anyInt() { return m_random.bounded(12) - 3; }
    bool anyBool() { return m_random.bounded(2) == 1; }
    quint32 anyColour() { return m_random.generate(); }
    QList<double> anyList()
    {
        QList<double> list;
        const int size = m_random.bounded(14);
        for (int i = 0; i < size; ++i) {
            list.append(anyDouble());
        }
        return list;
    }
    QString anyText()
    {
        static const QString s_texts[]
                = {QString(), QStringLiteral("Laser On"), QStringLiteral("Output\ndisable"),
                   QStringLiteral("µJ"), QString(400, QChar('x'))};
        return s_texts[m_random.bounded(int(std::size(s_texts)))];
    }

private slots:
    void initTestCase()
    {
        QLoggingCategory::setFilterRules(QStringLiteral("velutra.panelkit.warning=false"));
        const quint32 seed = QRandomGenerator::global()->generate();
        qInfo("Random seed %u", seed);
        m_random.seed(seed);
    }

    void noChangeSignalFromAnySetter()
    {
        QWidget window;
        auto *slider = new ComboSlider(25, &window);
        auto *first = slider->addScale(QStringLiteral("Rep rate control"));
        first->addUnit(QStringLiteral("kHz"), 0, 100, 3);
        first->addUnit(QStringLiteral("Hz"), 0, 1000, 0);
        auto *second = slider->addScale(QStringLiteral("Rep rate divider control"));
        second->addUnit(QString(), 0, 100, 0);
        auto *combo = new ComboBox(&window);
        combo->addItems({QStringLiteral("IR"), QStringLiteral("Green"), QStringLiteral("UV"),
                         QStringLiteral("DUV")});
        auto *indicatorButton = new IndicatorButton(QStringLiteral("Standby"), 1, &window);
        auto *indicator = new Indicator(&window);
        auto *button = new Button(QStringLiteral("OK"), 1, 2, &window);
        auto *edit = new LineEdit(&window);
        auto *view = new MainView(&window);
        view->addControlPage(QStringLiteral("a"));
        view->addControlPage(QStringLiteral("b"));
        view->addControlPage(QStringLiteral("c"));
        auto *dialog = new Dialog(&window);
        auto *scaleSlider = new ScaleSlider(25, &window);
        window.resize(900, 700);
        window.show();

        QSignalSpy sliderValue(slider, &ComboSlider::valueChanged);
        QSignalSpy sliderUnit(slider, &ComboSlider::unitIndexChanged);
        QSignalSpy sliderScale(slider, &ComboSlider::scaleIndexChanged);
        QSignalSpy comboIndex(combo, &ComboBox::currentIndexChanged);
        QSignalSpy buttonToggled(indicatorButton, &IndicatorButton::toggled);
        QSignalSpy buttonClicked(button, &QPushButton::clicked);
        QSignalSpy editEdited(edit, &QLineEdit::textEdited);
        QSignalSpy editReturn(edit, &QLineEdit::returnPressed);
        QSignalSpy scaleValue(scaleSlider, &ScaleSlider::valueChanged);
        QSignalSpy dialogFinished(dialog, &QDialog::finished);

        auto anyUnit = [&]() -> ComboSliderUnit * {
            ComboSliderScale *scale = slider->scale(m_random.bounded(2));
            return scale->unit(m_random.bounded(scale->unitCount()));
        };
        const std::vector<std::function<void()>> setters = {
                [&] { slider->setValue(anyDouble()); },
                [&] { slider->setUnitRange(anyInt() % 3, anyInt() % 3, anyDouble(), anyDouble()); },
                [&] { slider->setCurrentUnitIndex(anyInt() % 3); },
                [&] { slider->setCurrentScaleIndex(anyInt() % 3); },
                [&] { slider->setUnitVisibility(anyInt() % 3, anyBool()); },
                [&] { slider->setUnitVisibility(anyInt() % 3, anyInt() % 3, anyBool()); },
                [&] { slider->updateSlider(); },
                [&] { slider->setEnabled(anyBool()); },
                [&] { anyUnit()->setRange(anyDouble(), anyDouble()); },
                [&] { anyUnit()->setStepList(anyList()); },
                [&] { anyUnit()->setValue(anyDouble()); },
                [&] { anyUnit()->setDecimals(anyInt()); },
                [&] { anyUnit()->setScaleType(anyInt()); },
                [&] { anyUnit()->setVisible(anyBool()); },
                [&] { anyUnit()->setName(anyText()); },
                [&] { slider->scale(m_random.bounded(2))->setScaleType(anyInt()); },
                [&] {
                    scaleSlider->setScale(anyInt(), anyDouble(), anyDouble(), anyInt(), anyList());
                },
                [&] { scaleSlider->setValue(anyDouble()); },
                [&] { combo->setCurrentIndex(anyInt()); },
                [&] { combo->setItemVisibility(anyInt(), anyBool()); },
                [&] { combo->setEnabled(anyBool()); },
                [&] { indicatorButton->setActive(anyBool()); },
                [&] { indicatorButton->setBlink(anyBool(), anyInt() * 100, anyColour()); },
                [&] { indicatorButton->setColors(anyColour(), anyColour()); },
                [&] { indicatorButton->setButtonColor(anyInt()); },
                [&] { indicatorButton->setText(anyText()); },
                [&] { indicatorButton->setEnabled(anyBool()); },
                [&] { indicator->setColor(anyColour()); },
                [&] { indicator->setDiameter(anyInt() * 10); },
                [&] { button->setButtonSize(anyInt()); },
                [&] { button->setButtonColor(anyInt()); },
                [&] { button->setText(anyText()); },
                [&] { button->setEnabled(anyBool()); },
                [&] { edit->setText(anyText()); },
                [&] { edit->setDarkBackground(anyBool()); },
                [&] { edit->setReadOnly(anyBool()); },
                [&] { view->setHeader(anyText()); },
                [&] { view->setHeader(anyInt()); },
                [&] { view->setTinyHeader(anyText()); },
                [&] { view->setControlPage(anyInt()); },
                [&] { view->setSettingsPageAccess(anyInt(), anyBool()); },
                [&] { dialog->setFrameless(anyBool()); },
        };

        static constexpr int s_calls = 6000;
        for (int call = 0; call < s_calls; ++call) {
            setters[m_random.bounded(int(setters.size()))]();
            if (call % 200 == 0) {
                QCoreApplication::processEvents();
                QVERIFY(!window.grab().isNull());
            }
            // The value shown is always inside the current unit's range.
            if (const ComboSliderUnit *unit = slider->currentUnit()) {
                QVERIFY(slider->value() >= unit->minimum() && slider->value() <= unit->maximum());
            }
        }
        QCoreApplication::processEvents();

        QCOMPARE(sliderValue.count(), 0);
        QCOMPARE(sliderUnit.count(), 0);
        QCOMPARE(sliderScale.count(), 0);
        QCOMPARE(comboIndex.count(), 0);
        QCOMPARE(buttonToggled.count(), 0);
        QCOMPARE(buttonClicked.count(), 0);
        QCOMPARE(editEdited.count(), 0);
        QCOMPARE(editReturn.count(), 0);
        QCOMPARE(scaleValue.count(), 0);
        QCOMPARE(dialogFinished.count(), 0);
    }
};

QTEST_MAIN(TestRandomSetters)
#include "tst_randomsetters.moc"
