#include "velutracontroller.h"

#include "velutracommands.h"
#include "velutraresponsedecoder.h"

#include <QTimer>

namespace {

// The device's rates are its base clock divided by the divider of a frequency index.
constexpr double s_baseClock_kHz = 80000.0;
// The device expresses its power range as calibration slopes; 4000 over a slope is the
// energy in nJ at full scale.
constexpr double s_fullScaleUnits = 4000.0;
// A rate or divider the operator picks matches a list entry closer than this.
constexpr double s_listTolerance = 1.0;
// The digital outputs follow a rate change only after the device has settled.
constexpr int s_digitalOutputSettle_ms = 1000;

// 4000 / the device's value; a value that is not positive (NaN included) has no range end.
double rangeEnd_nJ(double deviceValue)
{
    return deviceValue > 0.0 ? s_fullScaleUnits / deviceValue : 0.0;
}

// The highest key whose value lies within the tolerance of `wanted`, -1 when none does.
int findIndex(const QMap<int, double> &list, double wanted)
{
    int found = -1;
    for (auto it = list.cbegin(); it != list.cend(); ++it) {
        const double difference = it.value() - wanted;
        if (difference > -s_listTolerance && difference < s_listTolerance) {
            found = it.key();
        }
    }
    return found;
}

} // namespace

// ---- From the decoder -----------------------------------------------------------------------

void VelutraController::slotfMeasuredLaserPowerChanged(double value)
{
    // Zero, negative and NaN all read as "nothing measured". An infinite reading is shown as
    // it comes; with a zero rate its power in W is then NaN, which the view shows as such.
    const double microjoules = value > 0.0 ? value / VelutraCommands::NanojoulesPerMicrojoule : 0.0;
    const double watts = value > 0.0 ? microjoules * (m_outputFrequency / 1000.0) : 0.0;
    emit setPowerMeasuredIR_uJ(microjoules);
    emit setOutputPowerIRMeasuredW(watts);
}

void VelutraController::slotPowerSetting_nJ_Changed(double value)
{
    // Shown as it comes, NaN and infinities included: the view's control decides what it
    // can show, and nothing the controller sends is derived from this value.
    m_powerSetting_nJ = value;
    emit setPowerSetpoint_uJ(m_powerSetting_nJ / VelutraCommands::NanojoulesPerMicrojoule);
}

void VelutraController::slotPowerSetting_percent_Changed(double value)
{
    m_powerSettingPercent = value;
    emit setPowerSetpoint_Percent(m_powerSettingPercent);
}

void VelutraController::slotPowerSetting_nJ_RangeChanged(double first, double second)
{
    // Any report at all means the device has calibration data, even one for which the
    // current frequency index has no entry.
    m_powerCalibrationKnown = true;
    const double first_nJ = rangeEnd_nJ(first);
    const double second_nJ = rangeEnd_nJ(second);
    // No calibration entry for the current frequency index: a range of 0 to 0 would pin the
    // slider to zero, so the last good range stays.
    if (first_nJ == 0.0 && second_nJ == 0.0) {
        return;
    }
    m_powerRangeFirst_nJ = first_nJ;
    m_powerRangeSecond_nJ = second_nJ;
    // The order is the device's, not ascending; the view sorts the ends itself.
    emit setPowerRange_uJ(m_powerRangeFirst_nJ / VelutraCommands::NanojoulesPerMicrojoule,
                          m_powerRangeSecond_nJ / VelutraCommands::NanojoulesPerMicrojoule);
    // A control whose range moved under it shows the setpoint again inside the new range.
    emit setPowerSetpoint_uJ(m_powerSetting_nJ / VelutraCommands::NanojoulesPerMicrojoule);
}

void VelutraController::slotPowerSettingPercentRangeChanged(double first, double second)
{
    m_powerRangePercentMin = first;
    m_powerRangePercentMax = second;
    emit setPowerRangePercent(m_powerRangePercentMin, m_powerRangePercentMax);
    emit setPowerSetpoint_Percent(m_powerSettingPercent);
}

void VelutraController::slotFrequencyIndexChanged(int value)
{
    // The index may come before the table that gives it a meaning; the table applies it then.
    m_reportedFrequencyIndex = value;
    applyFrequencyIndex(value);
    // Calibration is per frequency index, so the power limits follow the new rate. Without
    // calibration data a forced report would only carry zeros.
    if (m_powerCalibrationKnown) {
        m_decoder->publish_PowerSetpoint_nJ_Range(true);
    }
}

void VelutraController::slotFrequencyDivListChanged(const QMap<int, double> &list)
{
    m_frequencyList.clear();
    m_divisionList.clear();
    QList<double> rates;
    QList<double> dividers;
    rates.reserve(list.size());
    dividers.reserve(list.size());
    // A zero divider gives an infinite rate and a negative one a negative rate: both are
    // kept, so that the steps match the device's own table entry for entry.
    for (auto it = list.cbegin(); it != list.cend(); ++it) {
        const double rate = s_baseClock_kHz / it.value();
        m_frequencyList.insert(it.key(), rate);
        m_divisionList.insert(it.key(), it.value());
        rates.append(rate);
        dividers.append(it.value());
    }
    emit setRepRateSteps(rates);
    emit setRepRateDividerSteps(dividers);
    if (m_reportedFrequencyIndex >= 0) {
        applyFrequencyIndex(m_reportedFrequencyIndex);
    }
}

void VelutraController::slotDivisionFactorChanged(int value)
{
    m_divisionFactor = value;
    emit setDivision(double(m_divisionFactor));
    recomputeOutputRate();
}

void VelutraController::slotOutputFrequencyChanged(double value)
{
    m_outputFrequency = value;
    emit setOutputRepRate(m_outputFrequency);
}

// ---- From the view --------------------------------------------------------------------------
// A value that is not a number never becomes a command: truncation would turn NaN into 0 and
// the device would take "nan" for garbage or for 0. Finite values go out as they stand, the
// view's controls keep them in range and the device refuses the rest.

void VelutraController::power_uJ_Changed(double microjoules)
{
    sendOperatorValue(tr("set energy to %1 µJ"), microjoules, 2, &VelutraCommands::setPower_uJ,
                      &VelutraResponseDecoder::markStale_PowerSetpoint_nJ);
}

void VelutraController::powerPercentChanged(double percent)
{
    sendOperatorValue(tr("set energy to %1 %"), percent, 2, &VelutraCommands::setPowerPercent,
                      &VelutraResponseDecoder::markStale_PowerSetpoint_Percent);
}

void VelutraController::powerIndexChanged(int index)
{
    m_powerSetIndex = index;
}

void VelutraController::repRateChanged(double kilohertz)
{
    sendFrequencyIndexOf(m_frequencyList, kilohertz, 3,
                         tr("repetition rate %1 kHz is none the laser offers; nothing sent"),
                         tr("set repetition rate to %1 kHz"));
}

void VelutraController::repRateDividerChanged(double divider)
{
    // Rate and divider are two views of one table row: the device selects both by its index.
    sendFrequencyIndexOf(m_divisionList, divider, 0,
                         tr("repetition rate divider %1 is none the laser offers; nothing sent"),
                         tr("set repetition rate divider to %1"));
}

void VelutraController::repRateScaleIndexChanged(int index)
{
    m_repRateScaleIndex = index;
}

void VelutraController::divisionChanged(double factor)
{
    if (!sendOperatorValue(tr("set division factor to %1"), factor, s_wholePart,
                           &VelutraCommands::setDivision,
                           &VelutraResponseDecoder::markStale_DivisionFactor)) {
        return;
    }
    QTimer::singleShot(s_digitalOutputSettle_ms, this,
                       &VelutraController::appendDelayed_digiop_Command);
}

// ---- Helpers --------------------------------------------------------------------------------

void VelutraController::applyFrequencyIndex(int index)
{
    if (m_frequencyList.contains(index)) {
        m_frequencyIndex = index;
        emit setRepRate(m_frequencyList.value(index));
    }
    if (m_divisionList.contains(index)) {
        m_frequencyIndex = index;
        emit setRepRateDivider(m_divisionList.value(index));
    }
    recomputeOutputRate();
}

void VelutraController::sendFrequencyIndexOf(const QMap<int, double> &list, double wanted,
                                             int decimals, const QString &noneOffered,
                                             const QString &request)
{
    const int index = findIndex(list, wanted);
    if (index < 0) {
        logOperatorRequest(noneOffered.arg(wanted, 0, 'f', decimals));
        return;
    }
    sendOperatorCommand(request.arg(list.value(index), 0, 'f', decimals),
                        VelutraCommands::setFrequencyIndex(index),
                        &VelutraResponseDecoder::markStale_FrequencyIndex);
    QTimer::singleShot(s_digitalOutputSettle_ms, this,
                       &VelutraController::appendDelayed_digiop_Command);
}

void VelutraController::recomputeOutputRate()
{
    // A division factor of 0 gives infinity (or NaN for an unknown rate); it is shown as it
    // is, since the device itself reported that factor.
    const double rate = m_frequencyList.value(m_frequencyIndex, 0.0);
    m_outputFrequency = rate / double(m_divisionFactor);
    emit setOutputRepRate(m_outputFrequency);
}
