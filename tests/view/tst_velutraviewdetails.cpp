#include "button.h"
#include "dialog.h"
#include "lineedit.h"
#include "panelkit.h"
#include "signalrecorder.h"
#include "velutraview.h"

#include <QApplication>
#include <QDir>
#include <QGridLayout>
#include <QLabel>
#include <QPointer>
#include <QtTest>

#include <limits>
#include <memory>

namespace {

// The System Details fields in page order: section, field name, object name, filling slot.
struct SystemField
{
    const char *section;
    const char *name;
    const char *objectName;
    const char *slot;
};

const SystemField s_systemFields[] = {
        {"System", "Hardware:", "hardwareVersion", "setHardwareVersion"},
        {"System", "Firmware:", "firmwareVersion", "setFirmwareVersion"},
        {"System", "Application Name:", "applicationName", "setApplicationName"},
        {"System", "Compiled On:", "compilationDateTime", "setCompilationDateTime"},
        {"System", "Serial Number:", "serialNumber", "setSerialNumber"},
        {"System", "Device On Time:", "deviceOnTime", nullptr},
        {"System", "Emission Time:", "deviceEmissionTime", nullptr},
        {"LDD Device", "Hardware:", "lddDeviceHardware", "setLDDDeviceHardware"},
        {"LDD Device", "Software:", "lddDeviceSoftware", "setLDDDeviceSoftware"},
        {"LDD Device", "Revision:", "lddDeviceRevision", "setLDDDeviceRevision"},
        {"TEC Device", "Hardware:", "tecDeviceHardware", "setTECDeviceHardware"},
        {"TEC Device", "Software:", "tecDeviceSoftware", "setTECDeviceSoftware"},
        {"TEC Device", "Revision:", "tecDeviceRevision", "setTECDeviceRevision"},
        {"Timing Board", "Serial:", "timingBoardSerial", "setTimingBoardSerial"},
        {"Timing Board", "MCU:", "timingBoardMCU", "setTimingBoardMCU"},
        {"Timing Board", "FPGA:", "timingBoardFPGA", "setTimingBoardFPGA"},
        {"xHG Board", "Module address:", "hgModuleAddress", "setHGModuleAddress"},
        {"xHG Board", "Module type:", "hgModuleType", "setHGModuleType"},
        {"xHG Board", "Firmware version:", "hgModuleFirmwareVersion", "setHGModuleFirwareVersion"},
        {"xHG Board", "Bootloader version:", "hgModuleBootloaderVersion",
         "setHGModuleBootloaderVersion"},
        {"xHG Board", "Module serial number:", "hgModuleSerialNumber", "setHGModuleSerialNumber"},
        {"xHG Board", "PCB Serial number:", "hgModulePCBSerialNumber",
         "setHGModulePCBSerialNumber"},
        {"xHG Board", "Run Time:", "hgModuleRuntime", "setHGModuleRuntime"},
};

constexpr int s_temperatureRows = 10;

using Runtimes = QMap<int, quint64>;

QStringList filled(int count, const QString &text)
{
    QStringList list;
    for (int index = 0; index < count; ++index) {
        list.append(text);
    }
    return list;
}

constexpr int s_systemFieldCount = int(std::size(s_systemFields));

bool invokeText(VelutraView &view, const char *slot, const QString &text)
{
    return QMetaObject::invokeMethod(&view, slot, Q_ARG(QString, text));
}

bool invokeBool(VelutraView &view, const char *slot, bool value)
{
    return QMetaObject::invokeMethod(&view, slot, Q_ARG(bool, value));
}

} // namespace

class TestVelutraViewDetails : public QObject
{
    Q_OBJECT

private:
    static std::unique_ptr<VelutraView> makeShown(QSize size = QSize(1366, 768))
    {
        auto view = std::make_unique<VelutraView>();
        view->resize(size);
        view->show();
        if (!QTest::qWaitForWindowExposed(view.get())) {
            qWarning("view window was not exposed");
        }
        return view;
    }

    static QWidget *page(const VelutraView &view, const char *name)
    {
        return view.findChild<QWidget *>(QLatin1String(name));
    }

    static void showPage(VelutraView &view, const char *name)
    {
        QWidget *wanted = page(view, name);
        for (int index = 0; index < view.controlPageCount(); ++index) {
            if (view.controlPage(index) == wanted) {
                view.setControlPage(index);
            }
        }
        QVERIFY(wanted && view.controlPage(view.currentControlPage()) == wanted);
        QApplication::processEvents();
    }

    static LineEdit *field(const VelutraView &view, const QString &name)
    {
        return view.findChild<LineEdit *>(name);
    }

    static QStringList systemTexts(const VelutraView &view)
    {
        QStringList texts;
        for (const SystemField &row : s_systemFields) {
            LineEdit *edit = field(view, QLatin1String(row.objectName));
            texts.append(edit ? edit->text() : QStringLiteral("<missing>"));
        }
        return texts;
    }

    static QStringList temperatureTexts(const VelutraView &view)
    {
        QStringList texts;
        for (int row = 1; row <= s_temperatureRows; ++row) {
            LineEdit *edit = field(view, QStringLiteral("temperatureActual%1").arg(row));
            texts.append(edit ? edit->text() : QStringLiteral("<missing>"));
        }
        return texts;
    }

    static Dialog *spotTable(const VelutraView &view)
    {
        return view.findChild<Dialog *>(QStringLiteral("spotTableDialog"));
    }

    // The table as the operator reads it, row by row, cells joined by " | ".
    static QStringList spotTableRows(const Dialog &dialog)
    {
        auto *grid = dialog.findChild<QGridLayout *>(QStringLiteral("spotTableGrid"));
        if (!grid) {
            return {QStringLiteral("<no grid>")};
        }
        QStringList rows;
        for (int row = 0; row < grid->rowCount(); ++row) {
            QStringList cells;
            for (int column = 0; column < grid->columnCount(); ++column) {
                QLayoutItem *item = grid->itemAtPosition(row, column);
                auto *label = item ? qobject_cast<QLabel *>(item->widget()) : nullptr;
                cells.append(label ? label->text() : QString());
            }
            rows.append(cells.join(QStringLiteral(" | ")));
        }
        return rows;
    }

    static Dialog *warningDialog(const VelutraView &view)
    {
        return view.findChild<Dialog *>(QStringLiteral("hgModuleWarningDialog"));
    }

    static QString warningText(const VelutraView &view)
    {
        auto *label = view.findChild<QLabel *>(QStringLiteral("hgModuleWarningText"));
        return label ? label->text() : QStringLiteral("<no warning>");
    }

    static void saveScreenshot(QWidget *widget, const QString &name)
    {
        const QString folder = qEnvironmentVariable("VELUTRA_SCREENSHOT_DIR");
        if (folder.isEmpty()) {
            return;
        }
        QDir().mkpath(folder);
        const QString path = QDir(folder).filePath(name + QStringLiteral(".png"));
        QVERIFY2(widget->grab().save(path), qPrintable(path));
    }

    static void fillPlausibly(VelutraView &view)
    {
        view.setVelutraType(QStringLiteral("Velutra-10"));
        view.setHardwareVersion(QStringLiteral("VX-10 main board rev. D (2x seed, 1x amplifier)"));
        view.setFirmwareVersion(
                QStringLiteral("VX10_FW_3.14.2-rc7 build 2024-03-18 15:42:07 (release, LDD 2.9)"));
        view.setApplicationName(QStringLiteral("velutra-main"));
        view.setCompilationDateTime(QStringLiteral("Mar 18 2024 15:42:07"));
        view.setSerialNumber(QStringLiteral("VX10-2024-000417"));
        view.setDeviceOnHours(QStringLiteral("12873"));
        view.setDeviceOnMinutes(QStringLiteral("41"));
        view.setDeviceEmissionHours(QStringLiteral("9021"));
        view.setDeviceEmissionMinutes(QStringLiteral("7"));
        view.setLDDDeviceHardware(QStringLiteral("LDD-4 rev B"));
        view.setLDDDeviceSoftware(QStringLiteral("2.9.1"));
        view.setLDDDeviceRevision(QStringLiteral("0x0012"));
        view.setTECDeviceHardware(QStringLiteral("TEC-2 rev A"));
        view.setTECDeviceSoftware(QStringLiteral("1.4.0"));
        view.setTECDeviceRevision(QStringLiteral("0x0007"));
        view.setTimingBoardSerial(QStringLiteral("TB-19-00231"));
        view.setTimingBoardMCU(QStringLiteral("MCU 4.2.0 (2023-11-02)"));
        view.setTimingBoardFPGA(QStringLiteral("FPGA 0x2023110201"));
        view.setHGModuleAddress(QStringLiteral("0x21"));
        view.setHGModuleType(QStringLiteral("THGi 0x93"));
        view.setHGModuleFirwareVersion(QStringLiteral("xHG_FW 5.0.3"));
        view.setHGModuleBootloaderVersion(QStringLiteral("BL 1.2"));
        view.setHGModuleSerialNumber(QStringLiteral("HG-0093-00088"));
        view.setHGModulePCBSerialNumber(QStringLiteral("PCB-7712-0450"));
        view.setHGModuleRuntime(QStringLiteral("3412 hours 18 minutes"));
        const char *temperatures[] = {"23.4 °C", "24.1 °C",  "35.0 °C",  "35.2 °C", "19.8 °C",
                                      "40.3 °C", "158.6 °C", "132.9 °C", "22.0 °C", "21.7 °C"};
        for (int row = 0; row < s_temperatureRows; ++row) {
            const QByteArray slot = "setTemperatureActual" + QByteArray::number(row + 1);
            invokeText(view, slot.constData(), QString::fromUtf8(temperatures[row]));
        }
    }

private slots:
    void initTestCase()
    {
        PanelKit::loadApplicationFonts();
        qApp->setStyleSheet(PanelKit::getApplicationStylesheet());
    }

    void cleanup()
    {
        // Nothing a test leaves open may leak into the next one.
        QCOMPARE(QApplication::topLevelWidgets().size(), 0);
    }

    void pagesFollowEachOtherAsTemperatureThenSystem()
    {
        VelutraView view;
        QWidget *temperatures = page(view, "temperatureDetailsPage");
        QWidget *system = page(view, "systemDetailsPage");
        QVERIFY(temperatures);
        QVERIFY(system);
        QCOMPARE(view.controlPage(VelutraView::TemperatureDetailsPage), temperatures);
        QCOMPARE(view.controlPage(VelutraView::SystemDetailsPage), system);
    }

    void beforeAnyInformationFieldsAreUnknownAndTemperaturesEmpty()
    {
        VelutraView view;
        QCOMPARE(systemTexts(view), filled(s_systemFieldCount, QStringLiteral("???")));
        QCOMPARE(temperatureTexts(view), filled(s_temperatureRows, QString()));
        const QList<LineEdit *> edits
                = page(view, "systemDetailsPage")->findChildren<LineEdit *>()
                  + page(view, "temperatureDetailsPage")->findChildren<LineEdit *>();
        QCOMPARE(edits.size(), s_systemFieldCount + s_temperatureRows);
        for (LineEdit *edit : edits) {
            QVERIFY2(edit->isReadOnly(), qPrintable(edit->objectName()));
            QVERIFY2(edit->hasDarkBackground(), qPrintable(edit->objectName()));
        }
    }

    void systemDetailsSectionsAndFieldsInOrder()
    {
        VelutraView view;
        QWidget *system = page(view, "systemDetailsPage");
        QStringList headings;
        QStringList expectedHeadings;
        QStringList rows;
        QStringList expectedRows;
        for (QLabel *label : system->findChildren<QLabel *>()) {
            const QString type = label->property("type").toString();
            if (type == QLatin1String("heading")) {
                headings.append(label->text());
            } else if (type == QLatin1String("label") && label->buddy()) {
                rows.append(label->text() + QLatin1Char(' ') + label->buddy()->objectName());
            }
        }
        for (const SystemField &row : s_systemFields) {
            if (!expectedHeadings.contains(QLatin1String(row.section))) {
                expectedHeadings.append(QLatin1String(row.section));
            }
            expectedRows.append(QLatin1String(row.name) + QLatin1Char(' ')
                                + QLatin1String(row.objectName));
        }
        QCOMPARE(headings, expectedHeadings);
        QCOMPARE(rows, expectedRows);
    }

    void eachInformationSlotFillsItsOwnField_data()
    {
        QTest::addColumn<int>("row");
        int index = 0;
        for (const SystemField &row : s_systemFields) {
            if (row.slot) {
                QTest::newRow(row.slot) << index;
            }
            ++index;
        }
    }

    void eachInformationSlotFillsItsOwnField()
    {
        QFETCH(int, row);
        VelutraView view;
        SignalRecorder recorder(&view);
        const SystemField &target = s_systemFields[row];
        const QString value = QStringLiteral("<b>value</b> & 1.2.3");
        QVERIFY(invokeText(view, target.slot, value));
        QStringList expected = filled(s_systemFieldCount, QStringLiteral("???"));
        expected[row] = value;
        QCOMPARE(systemTexts(view), expected);
        QCOMPARE(field(view, QLatin1String(target.objectName))->toolTip(), value);
        QCOMPARE(recorder.takeAll(), QStringList());
    }

    void hoursAndMinutesShowTheLatestPair_data()
    {
        QTest::addColumn<QByteArray>("hoursSlot");
        QTest::addColumn<QByteArray>("minutesSlot");
        QTest::addColumn<QString>("field");
        QTest::newRow("device on")
                << QByteArray("setDeviceOnHours") << QByteArray("setDeviceOnMinutes")
                << QStringLiteral("deviceOnTime");
        QTest::newRow("emission") << QByteArray("setDeviceEmissionHours")
                                  << QByteArray("setDeviceEmissionMinutes")
                                  << QStringLiteral("deviceEmissionTime");
    }

    void hoursAndMinutesShowTheLatestPair()
    {
        QFETCH(QByteArray, hoursSlot);
        QFETCH(QByteArray, minutesSlot);
        QFETCH(QString, field);
        VelutraView view;
        LineEdit *edit = TestVelutraViewDetails::field(view, field);
        QVERIFY(invokeText(view, minutesSlot.constData(), QStringLiteral("5")));
        QCOMPARE(edit->text(), QStringLiteral("??? hours 5 minutes"));
        QVERIFY(invokeText(view, hoursSlot.constData(), QStringLiteral("12")));
        QCOMPARE(edit->text(), QStringLiteral("12 hours 5 minutes"));
        QVERIFY(invokeText(view, hoursSlot.constData(), QStringLiteral("13")));
        QCOMPARE(edit->text(), QStringLiteral("13 hours 5 minutes"));
        QVERIFY(invokeText(view, minutesSlot.constData(), QStringLiteral("0")));
        QCOMPARE(edit->text(), QStringLiteral("13 hours 0 minutes"));
        const int others = systemTexts(view).count(QStringLiteral("???"));
        QCOMPARE(others, s_systemFieldCount - 1);
    }

    void harmonicModuleSectionShowsAndHides()
    {
        auto view = makeShown();
        QWidget *system = page(*view, "systemDetailsPage");
        showPage(*view, "systemDetailsPage");
        QWidget *section = system->findChild<QWidget *>(QStringLiteral("hgModuleSection"));
        QVERIFY(section);
        LineEdit *moduleType = field(*view, QStringLiteral("hgModuleType"));
        LineEdit *firmware = field(*view, QStringLiteral("firmwareVersion"));
        QVERIFY(moduleType->isVisibleTo(system));
        view->setHGModuleInfoVisibility(false);
        QVERIFY(!section->isVisibleTo(system));
        QVERIFY(!moduleType->isVisibleTo(system));
        QVERIFY(firmware->isVisibleTo(system));
        view->setHGModuleInfoVisibility(true);
        QVERIFY(section->isVisibleTo(system));
        QVERIFY(moduleType->isVisibleTo(system));
    }

    void typeGoesIntoTheTinyHeader()
    {
        VelutraView view;
        view.setVelutraType(QStringLiteral("Velutra-3"));
        QCOMPARE(view.tinyHeader(), QStringLiteral("Velutra-3\n"));
        view.setVelutraType(QString());
        QCOMPARE(view.tinyHeader(), QStringLiteral("\n"));
    }

    void temperatureRows_data()
    {
        QTest::addColumn<int>("row");
        for (int row = 1; row <= s_temperatureRows; ++row) {
            QTest::addRow("Temp. %d", row) << row;
        }
    }

    void temperatureRows()
    {
        QFETCH(int, row);
        auto view = makeShown();
        SignalRecorder recorder(view.get());
        QWidget *temperatures = page(*view, "temperatureDetailsPage");
        auto *label
                = temperatures->findChild<QLabel *>(QStringLiteral("temperatureLabel%1").arg(row));
        LineEdit *edit = field(*view, QStringLiteral("temperatureActual%1").arg(row));
        QVERIFY(label);
        QVERIFY(edit);
        QCOMPARE(label->text(), QStringLiteral("Temp. %1:").arg(row));
        QCOMPARE(label->property("type").toString(), QStringLiteral("label"));
        QVERIFY(edit->alignment() & Qt::AlignRight);

        const QByteArray actual = "setTemperatureActual" + QByteArray::number(row);
        QVERIFY(invokeText(*view, actual.constData(), QStringLiteral("42.5 °C")));
        QStringList expected = filled(s_temperatureRows, QString());
        expected[row - 1] = QStringLiteral("42.5 °C");
        QCOMPARE(temperatureTexts(*view), expected);

        const QByteArray visibility = "setTemperatureVisibility" + QByteArray::number(row);
        QVERIFY(invokeBool(*view, visibility.constData(), false));
        for (int other = 1; other <= s_temperatureRows; ++other) {
            LineEdit *otherEdit = field(*view, QStringLiteral("temperatureActual%1").arg(other));
            auto *otherLabel = temperatures->findChild<QLabel *>(
                    QStringLiteral("temperatureLabel%1").arg(other));
            QCOMPARE(otherEdit->isVisibleTo(temperatures), other != row);
            QCOMPARE(otherLabel->isVisibleTo(temperatures), other != row);
        }
        QVERIFY(invokeBool(*view, visibility.constData(), true));
        QVERIFY(edit->isVisibleTo(temperatures));
        QVERIFY(label->isVisibleTo(temperatures));
        QCOMPARE(recorder.takeAll(), QStringList());
    }

    void longValuesAreNotClipped_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::addColumn<bool>("wholeValues");
        QTest::addColumn<QString>("suffix");
        QTest::newRow("full screen 1366x768") << QSize(1366, 768) << true << QString();
        // About what is left of a 1366x768 window beside the docks: long values give way.
        QTest::newRow("central area") << QSize(900, 560) << false << QStringLiteral("Narrow");
    }

    void longValuesAreNotClipped()
    {
        QFETCH(QSize, size);
        QFETCH(bool, wholeValues);
        QFETCH(QString, suffix);
        auto view = makeShown(size);
        fillPlausibly(*view);
        for (const char *name : {"systemDetailsPage", "temperatureDetailsPage"}) {
            QWidget *shownPage = page(*view, name);
            showPage(*view, name);
            // The page scrolls down, never sideways.
            QWidget *viewport = shownPage->parentWidget();
            QVERIFY2(shownPage->width() <= viewport->width(),
                     qPrintable(QStringLiteral("%1 > %2")
                                        .arg(shownPage->width())
                                        .arg(viewport->width())));
            for (QLabel *label : shownPage->findChildren<QLabel *>()) {
                if (label->isVisible()) {
                    QVERIFY2(label->width() >= label->minimumSizeHint().width(),
                             qPrintable(label->text()));
                    const int right = label->mapTo(shownPage, QPoint(label->width(), 0)).x();
                    QVERIFY2(right <= shownPage->width(), qPrintable(label->text()));
                }
            }
            for (LineEdit *edit : shownPage->findChildren<LineEdit *>()) {
                const int right = edit->mapTo(shownPage, QPoint(edit->width(), 0)).x();
                QVERIFY2(right <= shownPage->width(), qPrintable(edit->objectName()));
                if (wholeValues) {
                    const QFontMetrics metrics(edit->font());
                    QVERIFY2(edit->width() >= metrics.horizontalAdvance(edit->text()),
                             qPrintable(edit->objectName() + QLatin1Char(' ') + edit->text()));
                } else {
                    // What does not fit is at hand in the tool tip.
                    if (!edit->objectName().startsWith(QLatin1String("temperature"))) {
                        QCOMPARE(edit->toolTip(), edit->text());
                    }
                }
            }
            saveScreenshot(view.get(), QLatin1String(name) + suffix);
        }
    }

    void spotTableOfAnEmptyMapHasOnlyItsHeader()
    {
        VelutraView view;
        view.setCrystalAllRuntimes({});
        view.showAllSpotsButtonClicked();
        Dialog *dialog = spotTable(view);
        QVERIFY(dialog);
        QCOMPARE(spotTableRows(*dialog),
                 QStringList({QStringLiteral("Spot | Current runtime | Maximum runtime")}));
        const QList<QLabel *> headers = dialog->findChildren<QLabel *>();
        QCOMPARE(headers.size(), 3);
        for (QLabel *header : headers) {
            QCOMPARE(header->property("type").toString(), QStringLiteral("label-header"));
        }
        dialog->close();
    }

    void spotTableRowsInAscendingSpotOrder_data()
    {
        QTest::addColumn<Runtimes>("runtimes");
        QTest::addColumn<QStringList>("rows");
        const QString header = QStringLiteral("Spot | Current runtime | Maximum runtime");
        QTest::newRow("one second short of an hour")
                << Runtimes{{1, 3599}}
                << QStringList{header,
                               QStringLiteral("1 | 0 hours 59 minutes | 0 hours 0 minutes")};
        QTest::newRow("unsorted arrival")
                << Runtimes{{3, 3600}, {1, 7260}, {2, 0}}
                << QStringList{header, QStringLiteral("1 | 2 hours 1 minutes | 0 hours 0 minutes"),
                               QStringLiteral("2 | 0 hours 0 minutes | 0 hours 0 minutes"),
                               QStringLiteral("3 | 1 hours 0 minutes | 0 hours 0 minutes")};
        QTest::newRow("truncated, not rounded")
                << Runtimes{{7, 86399}}
                << QStringList{header,
                               QStringLiteral("7 | 23 hours 59 minutes | 0 hours 0 minutes")};
        QTest::newRow("largest runtime")
                << Runtimes{{-2, std::numeric_limits<quint64>::max()}}
                << QStringList{
                           header,
                           QStringLiteral(
                                   "-2 | 5124095576030431 hours 0 minutes | 0 hours 0 minutes")};
    }

    void spotTableRowsInAscendingSpotOrder()
    {
        QFETCH(Runtimes, runtimes);
        QFETCH(QStringList, rows);
        VelutraView view;
        view.setCrystalAllRuntimes(runtimes);
        // Stored, not shown, until the operator asks.
        QVERIFY(!spotTable(view));
        view.showAllSpotsButtonClicked();
        Dialog *dialog = spotTable(view);
        QVERIFY(dialog);
        QCOMPARE(spotTableRows(*dialog), rows);
        auto *grid = dialog->findChild<QGridLayout *>(QStringLiteral("spotTableGrid"));
        for (int row = 1; row < grid->rowCount(); ++row) {
            QCOMPARE(grid->itemAtPosition(row, 0)->widget()->property("type").toString(),
                     QStringLiteral("label"));
            QCOMPARE(grid->itemAtPosition(row, 1)->widget()->property("type").toString(),
                     QStringLiteral("text"));
            QCOMPARE(grid->itemAtPosition(row, 2)->widget()->property("type").toString(),
                     QStringLiteral("text"));
        }
        dialog->close();
    }

    void spotTableShowsTheMaximumRuntimeOnEveryRow()
    {
        VelutraView view;
        view.setCrystalAllRuntimes({{1, 60}, {2, 120}});
        view.setCrystalMaxRuntime(36000 + 1800);
        view.showAllSpotsButtonClicked();
        Dialog *dialog = spotTable(view);
        QVERIFY(dialog);
        const QStringList rows = spotTableRows(*dialog);
        dialog->close();
        QCOMPARE(rows,
                 QStringList({QStringLiteral("Spot | Current runtime | Maximum runtime"),
                              QStringLiteral("1 | 0 hours 1 minutes | 10 hours 30 minutes"),
                              QStringLiteral("2 | 0 hours 2 minutes | 10 hours 30 minutes")}));
    }

    void spotTableIsModalClosesAndIsNotStacked()
    {
        auto view = makeShown();
        SignalRecorder recorder(view.get());
        QMap<int, quint64> runtimes;
        for (int spot = 1; spot <= 60; ++spot) {
            runtimes.insert(spot, quint64(spot) * 4000 + 59);
        }
        view->setCrystalAllRuntimes(runtimes);
        view->showAllSpotsButtonClicked();
        view->showAllSpotsButtonClicked();
        QCOMPARE(view->findChildren<Dialog *>(QStringLiteral("spotTableDialog")).size(), 1);
        QPointer<Dialog> dialog = spotTable(*view);
        QVERIFY(dialog);
        QVERIFY(QTest::qWaitForWindowExposed(dialog));
        QCOMPARE(dialog->parentWidget(), view.get());
        QVERIFY(dialog->isFrameless());
        QVERIFY(dialog->windowModality() != Qt::NonModal);
        QCOMPARE(QApplication::activeModalWidget(), dialog.data());
        saveScreenshot(dialog, QStringLiteral("spotTable"));

        auto *close = dialog->findChild<Button *>(QStringLiteral("spotTableCloseButton"));
        QVERIFY(close);
        QCOMPARE(close->buttonSize(), 1);
        QCOMPARE(close->buttonColor(), 2);
        QTest::mouseClick(close, Qt::LeftButton);
        QTRY_VERIFY(dialog.isNull());
        QCOMPARE(QApplication::activeModalWidget(), nullptr);
        QCOMPARE(recorder.takeAll(), QStringList());
    }

    void deletingTheViewUnderTheSpotTableIsSafe()
    {
        auto view = makeShown();
        view->setCrystalAllRuntimes({{1, 10}});
        view->showAllSpotsButtonClicked();
        QPointer<Dialog> dialog = spotTable(*view);
        QVERIFY(dialog);
        view.reset();
        QVERIFY(dialog.isNull());
        QApplication::processEvents();
    }

    void moduleWarningIsNonModalAndReturnsAtOnce()
    {
        auto view = makeShown();
        SignalRecorder recorder(view.get());
        view->setHGModuleWarning(QStringLiteral("THG oven temperature out of range"));
        QPointer<Dialog> dialog = warningDialog(*view);
        QVERIFY(dialog);
        QVERIFY(QTest::qWaitForWindowExposed(dialog));
        QVERIFY(dialog->isVisible());
        QVERIFY(!dialog->isModal());
        QCOMPARE(dialog->windowModality(), Qt::NonModal);
        QCOMPARE(QApplication::activeModalWidget(), nullptr);
        QCOMPARE(dialog->parentWidget(), view.get());
        QVERIFY(dialog->isFrameless());

        QList<QLabel *> labels = dialog->findChildren<QLabel *>();
        QCOMPARE(labels.size(), 2);
        QCOMPARE(labels.at(0)->text(), QStringLiteral("** Warning **"));
        QCOMPARE(labels.at(0)->property("type").toString(), QStringLiteral("label-header"));
        QVERIFY(labels.at(0)->alignment() & Qt::AlignHCenter);
        QCOMPARE(labels.at(1)->text(), QStringLiteral("THG oven temperature out of range"));
        QCOMPARE(labels.at(1)->property("type").toString(), QStringLiteral("label"));
        QVERIFY(labels.at(1)->alignment() & Qt::AlignHCenter);

        const QList<Button *> buttons = dialog->findChildren<Button *>();
        QCOMPARE(buttons.size(), 1);
        QCOMPARE(buttons.at(0)->text(), QStringLiteral("OK"));
        QCOMPARE(buttons.at(0)->buttonSize(), 1);
        QCOMPARE(buttons.at(0)->buttonColor(), 2);

        // The panel behind stays usable while the warning shows.
        view->activateWindow();
        QVERIFY(view->isEnabled());
        QTest::mouseClick(buttons.at(0), Qt::LeftButton);
        QTRY_VERIFY(dialog.isNull());
        QCOMPARE(recorder.takeAll(), QStringList());
    }

    void repeatedWarningsAreCountedNotStacked()
    {
        auto view = makeShown();
        const QString oven = QStringLiteral("SHG oven not ready");
        const QString humidity = QStringLiteral("Humidity above limit");
        view->setHGModuleWarning(oven);
        QCOMPARE(warningText(*view), oven);
        view->setHGModuleWarning(oven);
        QCOMPARE(warningText(*view), oven + QStringLiteral(" (repeated 1 times)"));
        view->setHGModuleWarning(oven);
        QCOMPARE(warningText(*view), oven + QStringLiteral(" (repeated 2 times)"));

        // A different warning joins the list; repeats of either keep their own count.
        view->setHGModuleWarning(humidity);
        QCOMPARE(warningText(*view), oven + QStringLiteral(" (repeated 2 times)\n") + humidity);
        view->setHGModuleWarning(humidity);
        view->setHGModuleWarning(oven);
        QCOMPARE(warningText(*view), oven + QStringLiteral(" (repeated 3 times)\n") + humidity
                                             + QStringLiteral(" (repeated 1 times)"));
        QCOMPARE(view->findChildren<Dialog *>(QStringLiteral("hgModuleWarningDialog")).size(), 1);

        // Acknowledged: the next warning starts afresh.
        saveScreenshot(warningDialog(*view), QStringLiteral("moduleWarning"));
        QPointer<Dialog> dialog = warningDialog(*view);
        QTest::mouseClick(dialog->findChild<Button *>(), Qt::LeftButton);
        QTRY_VERIFY(dialog.isNull());
        view->setHGModuleWarning(oven);
        QCOMPARE(warningText(*view), oven);
        QVERIFY(warningDialog(*view)->isVisible());
        warningDialog(*view)->close();
    }

    void acknowledgedWarningOpensAgainWhenItComesBack()
    {
        auto view = makeShown();
        const QString shutter = QStringLiteral("Shutter in wrong position");
        for (int showing = 0; showing < 3; ++showing) {
            view->setHGModuleWarning(shutter);
            QPointer<Dialog> dialog = warningDialog(*view);
            QVERIFY(dialog);
            QTRY_VERIFY(dialog->isVisible());
            QCOMPARE(warningText(*view), shutter);
            // Repeats while it is shown are counted in the same dialog.
            view->setHGModuleWarning(shutter);
            QCOMPARE(warningText(*view), shutter + QStringLiteral(" (repeated 1 times)"));
            auto *ok = dialog->findChild<Button *>(QStringLiteral("hgModuleWarningOkButton"));
            QVERIFY(ok);
            QTest::mouseClick(ok, Qt::LeftButton);
            QVERIFY(!dialog || !dialog->isVisible());
            // The module says it again at once, before the acknowledged window is gone.
            view->setHGModuleWarning(shutter);
            QPointer<Dialog> again;
            const QList<Dialog *> dialogs
                    = view->findChildren<Dialog *>(QStringLiteral("hgModuleWarningDialog"));
            for (Dialog *candidate : dialogs) {
                if (candidate->isVisible()) {
                    again = candidate;
                }
            }
            QVERIFY2(again, "no warning dialog after the warning came back");
            QCOMPARE(again->findChild<QLabel *>(QStringLiteral("hgModuleWarningText"))->text(),
                     shutter);
            QTest::mouseClick(again->findChild<Button *>(QStringLiteral("hgModuleWarningOkButton")),
                              Qt::LeftButton);
            QTRY_VERIFY(again.isNull());
        }
    }

    void endlessDistinctWarningsKeepOnlyTheNewest()
    {
        auto view = makeShown();
        for (int index = 1; index <= 50; ++index) {
            view->setHGModuleWarning(QStringLiteral("Error %1").arg(index));
        }
        const QStringList lines = warningText(*view).split(QLatin1Char('\n'));
        QCOMPARE(lines.size(), 8);
        QCOMPARE(lines.first(), QStringLiteral("Error 43"));
        QCOMPARE(lines.last(), QStringLiteral("Error 50"));
        QCOMPARE(view->findChildren<Dialog *>(QStringLiteral("hgModuleWarningDialog")).size(), 1);
        warningDialog(*view)->close();
    }

    void warningTextIsShownAsSent()
    {
        auto view = makeShown();
        const QString markup = QStringLiteral("<b>T < 20 °C</b> & <i>rising</i>");
        view->setHGModuleWarning(markup);
        auto *label = view->findChild<QLabel *>(QStringLiteral("hgModuleWarningText"));
        QCOMPARE(label->text(), markup);
        QCOMPARE(label->textFormat(), Qt::PlainText);
        warningDialog(*view)->close();
    }

    void deletingTheViewUnderTheWarningIsSafe()
    {
        auto view = makeShown();
        view->setHGModuleWarning(QStringLiteral("Crystal spot position lost"));
        view->setHGModuleWarning(QStringLiteral("Crystal spot position lost"));
        QPointer<Dialog> dialog = warningDialog(*view);
        QVERIFY(QTest::qWaitForWindowExposed(dialog));
        view.reset();
        QVERIFY(dialog.isNull());
        QApplication::processEvents();
    }

    void detailSlotsNeverEmit()
    {
        auto view = makeShown();
        SignalRecorder recorder(view.get());
        const QStringList hostile = {QString(),
                                     QStringLiteral("???"),
                                     QStringLiteral("-1"),
                                     QStringLiteral("<img src=x>&amp;"),
                                     QString(5000, QLatin1Char('9')),
                                     QStringLiteral("\n\t")};
        const QMetaObject *meta = view->metaObject();
        for (int method = meta->methodOffset(); method < meta->methodCount(); ++method) {
            const QMetaMethod slot = meta->method(method);
            if (slot.methodType() != QMetaMethod::Slot || slot.parameterCount() != 1) {
                continue;
            }
            const QByteArray name = slot.name();
            const int type = slot.parameterType(0);
            for (const QString &text : hostile) {
                if (type == QMetaType::QString) {
                    QVERIFY(slot.invoke(view.get(), Q_ARG(QString, text)));
                } else if (type == QMetaType::Bool
                           && (name.startsWith("setTemperatureVisibility")
                               || name == "setHGModuleInfoVisibility")) {
                    QVERIFY(slot.invoke(view.get(), Q_ARG(bool, text.isEmpty())));
                }
            }
        }
        view->setCrystalAllRuntimes(
                {{std::numeric_limits<int>::min(), 0},
                 {std::numeric_limits<int>::max(), std::numeric_limits<quint64>::max()}});
        view->showAllSpotsButtonClicked();
        QApplication::processEvents();
        QCOMPARE(recorder.takeAll(), QStringList());
        QVERIFY(warningDialog(*view));
        QCOMPARE(QApplication::activeModalWidget(), spotTable(*view));
    }
};

QTEST_MAIN(TestVelutraViewDetails)
#include "tst_velutraviewdetails.moc"
