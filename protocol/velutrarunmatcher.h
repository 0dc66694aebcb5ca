#ifndef VELUTRARUNMATCHER_H
#define VELUTRARUNMATCHER_H

#include <QBitArray>
#include <QString>
#include <QStringList>
#include <QVector>

// Matches patterns built from single characters, character classes (\s, \d, ".", "[...]"),
// runs of them ("\s+", "\d*"), groups and one alternation of plain words ("(IR|SHG)"),
// provided every run is followed by something that cannot continue it ("\s+Index",
// "\d+" at the end). Then there is only one way the pattern can match: each run takes
// every character it can, and the match is found in one pass from the left. Patterns
// without that property are refused (parse() returns false) and left to QRegExp.
class VelutraRunMatcher
{
public:
    /// Reads a pattern in QRegExp's syntax; false when it is not of the kind described.
    bool parse(const QString &pattern);

    bool matchesAtStart(const QString &line);
    QString cap(int n) const;
    int captureCount() const { return m_groupStarts.size(); }

private:
    enum class Kind { Character, Space, Digit, AnyCharacter, Set, Words };

    struct Atom
    {
        Kind kind = Kind::Character;
        QChar character;
        QBitArray set; // Kind::Set: Latin-1 members
        QStringList words; // Kind::Words: the alternatives, none a prefix of another
        int minimum = 1;
        int maximum = 1; // -1: unbounded
    };

    static bool contains(const Atom &atom, QChar c);
    static bool canStartWith(const Atom &atom, QChar c);
    static bool mayOverlap(const Atom &run, const Atom &next);
    bool readAtom(const QString &pattern, int &i, Atom &atom) const;

    QVector<Atom> m_atoms;
    QVector<int> m_groupStarts; // atom index where a group begins
    QVector<int> m_groupEnds; // atom index after a group's last atom
    QVector<int> m_positions; // position before each atom, and the end, of the last match
    QString m_matchedLine;
};

#endif // VELUTRARUNMATCHER_H
