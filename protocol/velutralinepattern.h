#ifndef VELUTRALINEPATTERN_H
#define VELUTRALINEPATTERN_H

#include "velutrarunmatcher.h"

#include <QBitArray>
#include <QRegExp>
#include <QString>
#include <QVector>

// One reply pattern in QRegExp's default syntax (case-sensitive, greedy), compiled once and
// matched at the start of a line, exactly as QRegExp::indexIn() returning 0 would.
//
// Most of the device's patterns are literal text with ".*" or ".+" gaps and groups around
// them ("^Compiled on: (.*)\n"). For those the match is computed directly. Because "." takes
// any character, a literal can sit at any of its occurrences between the earliest and the
// latest place that leave room for the rest of the pattern, and both are found by a scan
// from either side. QRegExp's choice among the possible matches (the longest, then the
// first group starting earliest and ending latest, then the next group ...) fixes one
// literal after the other. No backtracking, no allocation. Patterns made of runs that
// cannot overlap go to VelutraRunMatcher; the rest to QRegExp.
//
// Before QRegExp runs, the literal text the pattern starts with (after "^", or after "^.*"
// anywhere in the line) is tested: most lines fail that test and cost a few compares. The
// characters a match can begin with (canStartWith()) let the decoder skip a pattern for a
// line without looking at it at all.
class VelutraLinePattern
{
public:
    explicit VelutraLinePattern(const QString &pattern);

    /// True when the pattern matches with its match starting at position 0.
    /// The captures of that match are then available through cap().
    bool matchesAtStart(const QString &line);
    /// Text of capture group `n` of the last successful match (0 is the whole match).
    QString cap(int n) const;
    int captureCount() const;

    const QString &pattern() const { return m_pattern; }
    /// The literal text every match needs, and whether it must be at the start.
    const QString &requiredLiteral() const { return m_requiredLiteral; }
    bool literalAtStart() const { return m_literalAtStart; }
    /// Whether a match can start with Latin-1 character `c` (false only when it cannot).
    bool canStartWith(int c) const
    {
        return c >= 0 && c < 256 ? m_firstCharacters.testBit(c) : true;
    }
    /// Whether the pattern is matched without QRegExp: literals, gaps and groups, or
    /// runs that cannot overlap (see VelutraRunMatcher).
    bool isDirect() const { return m_direct || m_runs; }

private:
    // A run of literal characters; '.' in the pattern is a wildcard character inside it.
    struct Literal
    {
        QString text;
        QVector<bool> wildcard;
        bool hasWildcard = false;
        int gapBefore = 0; // minimum length of the gap before it: 0 for ".*", 1 for ".+"
    };
    // A capture boundary: `offset` characters into literal `literal`.
    struct Boundary
    {
        int literal = 0;
        int offset = 0;
    };

    void deriveRequiredLiteral();
    void deriveFirstCharacters();
    bool parseDirect();
    bool matchDirect(const QString &line);
    bool placeLiterals(const QChar *text, int size);
    int firstOccurrence(const Literal &literal, const QChar *text, int size, int from) const;
    int lastOccurrence(const Literal &literal, const QChar *text, int upTo) const;
    bool literalAt(const Literal &literal, const QChar *text, int position) const;

    QString m_pattern;
    QRegExp m_regExp;
    QString m_requiredLiteral;
    bool m_literalAtStart = true;
    QBitArray m_firstCharacters{256, true};

    bool m_direct = false;
    bool m_runs = false;
    VelutraRunMatcher m_runMatcher;
    QVector<Literal> m_literals;
    QVector<Boundary> m_groupStarts;
    QVector<Boundary> m_groupEnds;
    // Where each literal sits in the last matched line; sized once, reused for every line.
    QVector<int> m_literalPositions;
    QVector<int> m_fixed; // -1 while a literal's place is still open
    QVector<int> m_earliest;
    QVector<int> m_latest;
    QString m_matchedLine;
};

#endif // VELUTRALINEPATTERN_H
