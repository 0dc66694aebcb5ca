#ifndef VELUTRALINEPATTERN_H
#define VELUTRALINEPATTERN_H

#include <QRegExp>
#include <QString>

// One reply pattern in QRegExp's default syntax (case-sensitive, greedy), compiled once and
// matched at the start of a line.
//
// The device's patterns are written for QRegExp and the decoder must agree with it on every
// line, so QRegExp itself decides. What makes this fast is that the literal text a pattern
// starts with (after "^", or after "^.*" anywhere in the line) is a cheap test that every
// match must pass: most lines are rejected by it without running the engine at all.
class VelutraLinePattern
{
public:
    explicit VelutraLinePattern(const QString &pattern);

    /// True when the pattern matches with its match starting at position 0.
    /// The captures of that match are then available through cap().
    bool matchesAtStart(const QString &line);
    /// Text of capture group `n` of the last successful match (0 is the whole match).
    QString cap(int n) const { return m_regExp.cap(n); }
    int captureCount() const { return m_regExp.captureCount(); }

    const QString &pattern() const { return m_pattern; }
    /// The literal text every match needs, and whether it must be at the start.
    const QString &requiredLiteral() const { return m_requiredLiteral; }
    bool literalAtStart() const { return m_literalAtStart; }

private:
    void deriveRequiredLiteral();

    QString m_pattern;
    QRegExp m_regExp;
    QString m_requiredLiteral;
    bool m_literalAtStart = true;
};

#endif // VELUTRALINEPATTERN_H
