#include "comboslider.h"

#include "combobox.h"
#include "lineedit.h"
#include "panelkit.h"
#include "panelkitprivate.h"

#include <QEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLocale>

#include <algorithm>
#include <cmath>

using namespace PanelKit;

namespace {

bool isKnownScaleType(int type)
{
    return type == ScaleSlider::Linear || type == ScaleSlider::Logarithmic
           || type == ScaleSlider::Stepped;
}

int boundedDecimals(int decimals)
{
    const int bounded = qBound(0, decimals, s_maxDecimals);
    if (bounded != decimals) {
        qCWarning(lcPanelKit) << "Decimals" << decimals << "out of range, using" << bounded;
    }
    return bounded;
}

// A unit or scale keeps its scale type when given one the slider cannot draw.
bool acceptScaleType(const char *holder, const QString &name, int scaleType)
{
    if (isKnownScaleType(scaleType)) {
        return true;
    }
    qCWarning(lcPanelKit) << holder << name << "scale type" << scaleType
                          << "is unknown - type kept";
    return false;
}

// Puts items into a selector when they differ from what it holds; silent either way.
void syncItems(ComboBox *box, const QStringList &names)
{
    QStringList present;
    for (int i = 0; i < box->count(); ++i) {
        present.append(box->itemText(i));
    }
    if (present == names) {
        return;
    }
    box->clear();
    box->addItems(names);
}

} // namespace

// ---------------------------------------------------------------------------------------------

ComboSliderUnit::ComboSliderUnit(const QString &name, double minimum, double maximum, int decimals,
                                 QObject *parent)
    : ComboSliderUnit(name, minimum, maximum, decimals, ScaleSlider::Linear, parent)
{ }

ComboSliderUnit::ComboSliderUnit(const QString &name, double minimum, double maximum, int decimals,
                                 int scaleType, QObject *parent)
    : QObject(parent)
    , m_name(name)
{
    m_decimals = boundedDecimals(decimals);
    setRange(minimum, maximum);
    m_value = m_minimum;
    setScaleType(scaleType);
}

QList<double> ComboSliderUnit::allowedSteps() const
{
    QList<double> allowed;
    for (double step : m_steps) {
        if (step >= m_minimum && step <= m_maximum) {
            allowed.append(step);
        }
    }
    return allowed;
}

double ComboSliderUnit::value() const
{
    return qBound(m_minimum, m_value, m_maximum);
}

double ComboSliderUnit::nearestAllowed(double value) const
{
    double result = qBound(m_minimum, roundToDecimals(value, m_decimals), m_maximum);
    const QList<double> steps = allowedSteps();
    if (!steps.isEmpty()) {
        const auto nearest
                = std::min_element(steps.cbegin(), steps.cend(), [result](double a, double b) {
                      return std::abs(a - result) < std::abs(b - result);
                  });
        result = *nearest;
    }
    return result;
}

void ComboSliderUnit::setRange(double minimum, double maximum)
{
    if (!std::isfinite(minimum) || !std::isfinite(maximum)) {
        qCWarning(lcPanelKit) << "Unit" << m_name << "range" << minimum << maximum
                              << "is not finite - range kept";
        return;
    }
    if (minimum > maximum) {
        std::swap(minimum, maximum);
    }
    if (minimum == m_minimum && maximum == m_maximum) {
        return;
    }
    m_minimum = minimum;
    m_maximum = maximum;
    emit changed();
}

void ComboSliderUnit::setStepList(const QList<double> &steps)
{
    QList<double> clean;
    int dropped = 0;
    for (double step : steps) {
        if (std::isfinite(step)) {
            clean.append(step);
        } else {
            ++dropped;
        }
    }
    if (dropped > 0) {
        qCWarning(lcPanelKit) << "Unit" << m_name << "step list: dropped" << dropped
                              << "values that are not numbers";
    }
    std::sort(clean.begin(), clean.end());
    clean.erase(std::unique(clean.begin(), clean.end()), clean.end());
    m_steps = clean;
    if (!clean.isEmpty()) {
        m_minimum = clean.first();
        m_maximum = clean.last();
    }
    emit changed();
}

void ComboSliderUnit::setValue(double value)
{
    if (!std::isfinite(value)) {
        qCWarning(lcPanelKit) << "Unit" << m_name << "value" << value
                              << "is not a number - value kept";
        return;
    }
    if (takeNew(m_value, value)) {
        emit changed();
    }
}

void ComboSliderUnit::setDecimals(int decimals)
{
    if (takeNew(m_decimals, boundedDecimals(decimals))) {
        emit changed();
    }
}

void ComboSliderUnit::setName(const QString &name)
{
    if (takeNew(m_name, name)) {
        emit changed();
    }
}

void ComboSliderUnit::setScaleType(int scaleType)
{
    if (acceptScaleType("Unit", m_name, scaleType) && takeNew(m_scaleType, scaleType)) {
        emit changed();
    }
}

void ComboSliderUnit::setVisible(bool visible)
{
    if (takeNew(m_visible, visible)) {
        emit changed();
    }
}

// ---------------------------------------------------------------------------------------------

ComboSliderScale::ComboSliderScale(const QString &name, QObject *parent)
    : QObject(parent)
    , m_name(name)
{ }

ComboSliderScale::ComboSliderScale(const QString &name, int scaleType, QObject *parent)
    : ComboSliderScale(name, parent)
{
    setScaleType(scaleType);
}

void ComboSliderScale::addUnit(ComboSliderUnit *unit)
{
    if (!unit) {
        qCWarning(lcPanelKit) << "Scale" << m_name << "was given no unit";
        return;
    }
    if (m_units.contains(unit)) {
        qCWarning(lcPanelKit) << "Scale" << m_name << "already holds unit" << unit->name();
        return;
    }
    unit->setParent(this);
    if (m_scaleType >= 0) {
        unit->setScaleType(m_scaleType);
    }
    m_units.append(unit);
    connect(unit, &ComboSliderUnit::changed, this, &ComboSliderScale::changed);
    connect(unit, &QObject::destroyed, this, &ComboSliderScale::removeUnit);
    emit changed();
}

ComboSliderUnit *ComboSliderScale::addUnit(const QString &name, double minimum, double maximum,
                                           int decimals)
{
    auto *unit = new ComboSliderUnit(name, minimum, maximum, decimals, this);
    addUnit(unit);
    return unit;
}

ComboSliderUnit *ComboSliderScale::unit(int index) const
{
    return (index >= 0 && index < m_units.size()) ? m_units.at(index) : nullptr;
}

int ComboSliderScale::indexOf(const ComboSliderUnit *unit) const
{
    for (int i = 0; i < m_units.size(); ++i) {
        if (m_units.at(i) == unit) {
            return i;
        }
    }
    return -1;
}

void ComboSliderScale::setName(const QString &name)
{
    if (takeNew(m_name, name)) {
        emit changed();
    }
}

void ComboSliderScale::setScaleType(int scaleType)
{
    if (!acceptScaleType("Scale", m_name, scaleType)) {
        return;
    }
    m_scaleType = scaleType;
    for (ComboSliderUnit *unit : qAsConst(m_units)) {
        unit->setScaleType(scaleType);
    }
}

void ComboSliderScale::setCurrentUnitIndex(int index)
{
    if (index < 0 || index >= m_units.size()) {
        qCWarning(lcPanelKit) << "Scale" << m_name << "has no unit" << index << "- unit kept";
        return;
    }
    if (takeNew(m_currentUnit, index)) {
        emit changed();
    }
}

void ComboSliderScale::removeUnit(QObject *unit)
{
    for (int i = 0; i < m_units.size(); ++i) {
        if (m_units.at(i) == unit) {
            m_units.removeAt(i);
            if (m_currentUnit >= m_units.size()) {
                m_currentUnit = qMax(0, m_units.size() - 1);
            }
            emit changed();
            return;
        }
    }
}

// ---------------------------------------------------------------------------------------------

ComboSlider::ComboSlider(int sliderHeight, QWidget *parent)
    : QWidget(parent)
{
    m_caption = new QLabel(this);
    m_caption->setObjectName(QStringLiteral("caption"));
    m_caption->setProperty("type", QStringLiteral("label"));

    m_scaleSelector = new ComboBox(this);
    m_scaleSelector->setObjectName(QStringLiteral("scaleSelector"));
    m_scaleSelector->setToolTip(tr("Scale"));

    m_slider = new ScaleSlider(sliderHeight, this);
    m_slider->setObjectName(QStringLiteral("slider"));
    m_sliderHeight = m_slider->trackHeight();

    m_valueEdit = new LineEdit(this);
    m_valueEdit->setObjectName(QStringLiteral("valueEdit"));
    m_valueEdit->setDarkBackground(true);
    m_valueEdit->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_valueEdit->setToolTip(tr("Type a value and press Enter"));
    m_valueEdit->installEventFilter(this);

    m_unitSelector = new ComboBox(this);
    m_unitSelector->setObjectName(QStringLiteral("unitSelector"));
    m_unitSelector->setToolTip(tr("Unit"));

    m_unitLabel = new QLabel(this);
    m_unitLabel->setObjectName(QStringLiteral("unitLabel"));
    m_unitLabel->setProperty("type", QStringLiteral("label"));
    m_unitLabel->setMinimumWidth(28);

    auto *layout = new QGridLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setHorizontalSpacing(8);
    layout->setVerticalSpacing(2);
    auto *top = new QHBoxLayout;
    top->setContentsMargins(0, 0, 0, 0);
    top->addWidget(m_caption);
    top->addWidget(m_scaleSelector);
    top->addStretch(1);
    layout->addLayout(top, 0, 0, 1, 3);
    layout->addWidget(m_slider, 1, 0);
    // The read-out and its unit sit level with the handle row, above the scale labels.
    auto *readout = new QHBoxLayout;
    readout->setContentsMargins(0, 0, 0, 0);
    readout->setSpacing(6);
    readout->addWidget(m_valueEdit);
    readout->addWidget(m_unitSelector);
    readout->addWidget(m_unitLabel);
    layout->addLayout(readout, 1, 1, Qt::AlignTop | Qt::AlignLeft);
    layout->setColumnStretch(0, 1);
    layout->setColumnMinimumWidth(1, 190);

    // Tab order follows the eye: scale, slider, value, unit.
    setTabOrder(m_scaleSelector, m_slider);
    setTabOrder(m_slider, m_valueEdit);
    setTabOrder(m_valueEdit, m_unitSelector);
    setFocusProxy(m_slider);

    connect(m_slider, &ScaleSlider::sliderMoved, this, &ComboSlider::onSliderMoved);
    connect(m_slider, &ScaleSlider::valueChanged, this, &ComboSlider::onSliderValueChanged);
    connect(m_slider, &ScaleSlider::sliderPressed, this, [this] { beginHold(Hold::Handle); });
    connect(m_slider, &ScaleSlider::sliderReleased, this, [this] { endHold(Hold::Handle); });
    connect(m_valueEdit, &QLineEdit::textEdited, this, [this] { beginHold(Hold::Typing); });
    connect(m_valueEdit, &QLineEdit::returnPressed, this, &ComboSlider::commitTypedValue);
    connect(m_unitSelector, &ComboBox::currentIndexChanged, this, &ComboSlider::onUnitChosen);
    connect(m_scaleSelector, &ComboBox::currentIndexChanged, this, &ComboSlider::onScaleChosen);

    updateSlider();
}

ComboSlider::~ComboSlider()
{
    // Children die after this object's own members; they must not call back into it.
    for (ComboSliderScale *scale : qAsConst(m_scales)) {
        disconnect(scale, nullptr, this, nullptr);
    }
    // A drag or typing cut short by the children's own destruction is nobody's business.
    disconnect(m_slider, nullptr, this, nullptr);
    disconnect(m_valueEdit, nullptr, this, nullptr);
    m_valueEdit->removeEventFilter(this);
}

void ComboSlider::addScale(ComboSliderScale *scale)
{
    if (!scale) {
        qCWarning(lcPanelKit) << "ComboSlider" << objectName() << "was given no scale";
        return;
    }
    if (m_scales.contains(scale)) {
        qCWarning(lcPanelKit) << "ComboSlider" << objectName() << "already holds scale"
                              << scale->name();
        return;
    }
    scale->setParent(this);
    m_scales.append(scale);
    connect(scale, &ComboSliderScale::changed, this, &ComboSlider::updateSlider);
    connect(scale, &QObject::destroyed, this, &ComboSlider::removeScale);
    updateSlider();
}

ComboSliderScale *ComboSlider::addScale(const QString &name)
{
    auto *scale = new ComboSliderScale(name, this);
    addScale(scale);
    return scale;
}

ComboSliderScale *ComboSlider::scale(int index) const
{
    return (index >= 0 && index < m_scales.size()) ? m_scales.at(index) : nullptr;
}

ComboSliderUnit *ComboSlider::currentUnit() const
{
    const ComboSliderScale *current = currentScale();
    return current ? current->currentUnit() : nullptr;
}

int ComboSlider::currentUnitIndex() const
{
    const ComboSliderScale *current = currentScale();
    return current ? current->currentUnitIndex() : -1;
}

double ComboSlider::value() const
{
    const ComboSliderUnit *unit = currentUnit();
    return unit ? unit->value() : 0.0;
}

void ComboSlider::setValue(double value)
{
    ComboSliderUnit *unit = currentUnit();
    if (!unit) {
        qCWarning(lcPanelKit) << "ComboSlider" << objectName() << "has no unit to take" << value;
        return;
    }
    unit->setValue(value);
}

ComboSliderUnit *ComboSlider::unitAt(int scale, int unit, const char *operation) const
{
    const ComboSliderScale *holder = this->scale(scale);
    ComboSliderUnit *found = holder ? holder->unit(unit) : nullptr;
    if (!found) {
        qCWarning(lcPanelKit) << "ComboSlider" << objectName() << operation << "- there is no unit"
                              << unit << "in scale" << scale;
    }
    return found;
}

void ComboSlider::setUnitRange(int scale, int unit, double minimum, double maximum)
{
    if (ComboSliderUnit *target = unitAt(scale, unit, "setUnitRange")) {
        target->setRange(minimum, maximum);
    }
}

void ComboSlider::setCurrentUnitIndex(int index)
{
    ComboSliderScale *current = currentScale();
    if (!current) {
        qCWarning(lcPanelKit) << "ComboSlider" << objectName() << "has no scale for unit" << index;
        return;
    }
    current->setCurrentUnitIndex(index);
}

void ComboSlider::setCurrentScaleIndex(int index)
{
    if (index < 0 || index >= m_scales.size()) {
        qCWarning(lcPanelKit) << "ComboSlider" << objectName() << "has no scale" << index
                              << "- scale kept";
        return;
    }
    if (index == m_currentScale) {
        return;
    }
    m_currentScale = index;
    updateSlider();
}

void ComboSlider::setUnitVisibility(int unit, bool visible)
{
    setUnitVisibility(m_currentScale, unit, visible);
}

void ComboSlider::setUnitVisibility(int scale, int unit, bool visible)
{
    if (ComboSliderUnit *target = unitAt(scale, unit, "setUnitVisibility")) {
        target->setVisible(visible);
    }
}

void ComboSlider::showValue(double value, int decimals)
{
    const QString text = formatNumber(value, decimals);
    if (m_valueEdit->text() != text) {
        m_valueEdit->setText(text);
    }
    m_valueEdit->setModified(false);
}

void ComboSlider::beginHold(Hold hold)
{
    // A drag starts after the field lost focus (which ends typing); typing cannot start
    // during a drag. Either way the first hold stays the one in force.
    if (m_hold == Hold::None) {
        m_hold = hold;
        m_heldUnit = currentUnit();
    }
}

bool ComboSlider::heldUnitIsCurrent() const
{
    if (m_hold == Hold::None || m_heldUnit == currentUnit()) {
        return true;
    }
    qCWarning(lcPanelKit) << "ComboSlider" << objectName()
                          << "changed its unit while the operator held it - input dropped";
    return false;
}

void ComboSlider::endHold(Hold hold)
{
    if (m_hold != hold) {
        return;
    }
    m_hold = Hold::None;
    // Whatever the program set meanwhile shows now.
    updateSlider();
}

void ComboSlider::updateSlider()
{
    // Nothing moves under the operator's hand; endHold shows it all.
    if (m_refreshing || m_hold != Hold::None) {
        return;
    }
    m_refreshing = true;

    QStringList scaleNames;
    for (const ComboSliderScale *s : qAsConst(m_scales)) {
        scaleNames.append(s->name());
    }
    syncItems(m_scaleSelector, scaleNames);
    if (m_currentScale >= m_scales.size()) {
        m_currentScale = qMax(0, m_scales.size() - 1);
    }
    m_scaleSelector->setCurrentIndex(m_scales.isEmpty() ? -1 : m_currentScale);
    m_scaleSelector->setVisible(m_scales.size() > 1);

    const ComboSliderScale *current = currentScale();
    m_caption->setText(current ? current->name() : QString());
    m_caption->setVisible(m_scales.size() <= 1 && current && !current->name().isEmpty());

    QStringList unitNames;
    int visibleUnits = 0;
    if (current) {
        for (int i = 0; i < current->unitCount(); ++i) {
            unitNames.append(current->unit(i)->name());
        }
    }
    syncItems(m_unitSelector, unitNames);
    if (current) {
        for (int i = 0; i < current->unitCount(); ++i) {
            const bool shown = current->unit(i)->isVisible();
            m_unitSelector->setItemVisibility(i, shown);
            visibleUnits += shown ? 1 : 0;
        }
    }
    m_unitSelector->setCurrentIndex(
            current && current->unitCount() > 0 ? current->currentUnitIndex() : -1);
    m_unitSelector->setVisible(visibleUnits > 1);

    const ComboSliderUnit *unit = currentUnit();
    m_unitLabel->setText(unit ? unit->name() : QString());
    m_unitLabel->setVisible(visibleUnits <= 1 && unit && !unit->name().isEmpty());

    m_slider->setEnabled(unit != nullptr);
    m_valueEdit->setEnabled(unit != nullptr);
    if (unit) {
        m_slider->setScale(unit->scaleType(), unit->minimum(), unit->maximum(), unit->decimals(),
                           unit->allowedSteps());
        m_slider->setValue(unit->value());
        // Room for the longest number the range can show.
        const int digits = qBound(8,
                                  qMax(formatNumber(unit->minimum(), unit->decimals()).size(),
                                       formatNumber(unit->maximum(), unit->decimals()).size())
                                          + 1,
                                  14);
        m_valueEdit->setFixedWidth(
                m_valueEdit->fontMetrics().horizontalAdvance(QLatin1Char('0')) * digits + 18);
        showValue(unit->value(), unit->decimals());
    } else {
        m_valueEdit->clear();
    }
    m_refreshing = false;
}

void ComboSlider::onSliderMoved(double value)
{
    if (const ComboSliderUnit *unit = currentUnit()) {
        showValue(value, unit->decimals());
    }
}

void ComboSlider::onSliderValueChanged(double value)
{
    ComboSliderUnit *unit = currentUnit();
    if (!unit || !heldUnitIsCurrent()) {
        return;
    }
    unit->setValue(value);
    showValue(unit->value(), unit->decimals());
    emit valueChanged(value);
}

void ComboSlider::commitTypedValue()
{
    ComboSliderUnit *unit = currentUnit();
    if (!unit) {
        return;
    }
    if (!heldUnitIsCurrent()) {
        revertTypedValue();
        return;
    }
    QString text = m_valueEdit->text().trimmed();
    text.replace(QLatin1Char(','), QLatin1Char('.'));
    // A unit typed out of habit ("250 µJ") is tolerated.
    if (!unit->name().isEmpty() && text.endsWith(unit->name())) {
        text.chop(unit->name().size());
        text = text.trimmed();
    }
    bool ok = false;
    const double typed = QLocale::c().toDouble(text, &ok);
    if (!ok || !std::isfinite(typed)) {
        qCWarning(lcPanelKit).noquote()
                << QStringLiteral("ComboSlider %1: \"%2\" is not a number; the value stays %3")
                           .arg(objectName(), m_valueEdit->text(),
                                formatNumber(unit->value(), unit->decimals()));
        revertTypedValue();
        return;
    }
    const double chosen = unit->nearestAllowed(typed);
    if (sameAtDecimals(chosen, unit->value(), unit->decimals())) {
        revertTypedValue();
        return;
    }
    m_valueEdit->setModified(false);
    endHold(Hold::Typing);
    unit->setValue(chosen);
    showValue(unit->value(), unit->decimals());
    emit valueChanged(chosen);
}

void ComboSlider::revertTypedValue()
{
    endHold(Hold::Typing);
    if (const ComboSliderUnit *unit = currentUnit()) {
        showValue(unit->value(), unit->decimals());
    }
}

void ComboSlider::onUnitChosen(int index)
{
    ComboSliderScale *current = currentScale();
    if (!current || !current->unit(index) || !current->unit(index)->isVisible()) {
        return;
    }
    current->setCurrentUnitIndex(index);
    updateSlider();
    emit unitIndexChanged(index);
}

void ComboSlider::onScaleChosen(int index)
{
    if (index < 0 || index >= m_scales.size()) {
        return;
    }
    m_currentScale = index;
    updateSlider();
    emit scaleIndexChanged(index);
}

void ComboSlider::removeScale(QObject *scale)
{
    for (int i = 0; i < m_scales.size(); ++i) {
        if (m_scales.at(i) == scale) {
            m_scales.removeAt(i);
            updateSlider();
            return;
        }
    }
}

bool ComboSlider::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_valueEdit) {
        if (event->type() == QEvent::FocusOut) {
            // Leaving the field is not a confirmation: only Enter sends a typed value.
            revertTypedValue();
        } else if (event->type() == QEvent::KeyPress
                   && static_cast<QKeyEvent *>(event)->key() == Qt::Key_Escape
                   && m_valueEdit->isModified()) {
            revertTypedValue();
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}
