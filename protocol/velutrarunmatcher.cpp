#include "velutrarunmatcher.h"

namespace {

bool isQuantifier(QChar c)
{
    return c == QLatin1Char('*') || c == QLatin1Char('+') || c == QLatin1Char('?')
           || c == QLatin1Char('{');
}

bool isSpecial(QChar c)
{
    static const QString s_special = QStringLiteral("\\.*+?[](){}|^$");
    return s_special.contains(c);
}

} // namespace

bool VelutraRunMatcher::contains(const Atom &atom, QChar c)
{
    switch (atom.kind) {
    case Kind::Character:
        return c == atom.character;
    case Kind::Space:
        return c.isSpace();
    case Kind::Digit:
        return c.isDigit();
    case Kind::AnyCharacter:
        return true;
    case Kind::Set:
        return c.unicode() < 256 && atom.set.testBit(c.unicode());
    case Kind::Words:
        break;
    }
    return false;
}

bool VelutraRunMatcher::canStartWith(const Atom &atom, QChar c)
{
    if (atom.kind != Kind::Words) {
        return contains(atom, c);
    }
    for (const QString &word : atom.words) {
        if (word.startsWith(c)) {
            return true;
        }
    }
    return false;
}

// Whether a character could belong to the run and also start the atom after it. Classes
// reach beyond Latin-1, so only what is certain is called disjoint.
bool VelutraRunMatcher::mayOverlap(const Atom &run, const Atom &next)
{
    if (run.kind == Kind::AnyCharacter || next.kind == Kind::AnyCharacter) {
        return true;
    }
    const bool runIsWide = run.kind == Kind::Space || run.kind == Kind::Digit;
    const bool nextIsWide = next.kind == Kind::Space || next.kind == Kind::Digit;
    if (runIsWide && nextIsWide) {
        return run.kind == next.kind;
    }
    if (next.kind == Kind::Character) {
        return contains(run, next.character);
    }
    if (next.kind == Kind::Words) {
        for (const QString &word : next.words) {
            if (contains(run, word.at(0))) {
                return true;
            }
        }
        return false;
    }
    // One side is a Latin-1 set, or a single character: compare over Latin-1.
    for (int code = 0; code < 256; ++code) {
        if (contains(run, QChar(code)) && contains(next, QChar(code))) {
            return true;
        }
    }
    return false;
}

bool VelutraRunMatcher::readAtom(const QString &pattern, int &i, Atom &atom) const
{
    const QChar c = pattern.at(i);
    if (c == QLatin1Char('\\')) {
        if (i + 1 >= pattern.size()) {
            return false;
        }
        const QChar escaped = pattern.at(i + 1);
        i += 2;
        if (escaped == QLatin1Char('s')) {
            atom.kind = Kind::Space;
        } else if (escaped == QLatin1Char('d')) {
            atom.kind = Kind::Digit;
        } else if (!escaped.isLetterOrNumber()) {
            atom.character = escaped;
        } else {
            return false;
        }
        return true;
    }
    if (c == QLatin1Char('.')) {
        atom.kind = Kind::AnyCharacter;
        ++i;
        return true;
    }
    if (c == QLatin1Char('[')) {
        // Plain members only: no ranges, no negation.
        atom.kind = Kind::Set;
        atom.set = QBitArray(256, false);
        ++i;
        if (i < pattern.size() && pattern.at(i) == QLatin1Char('^')) {
            return false;
        }
        while (i < pattern.size() && pattern.at(i) != QLatin1Char(']')) {
            QChar member = pattern.at(i);
            if (member == QLatin1Char('\\')) {
                if (i + 1 >= pattern.size() || pattern.at(i + 1).isLetterOrNumber()) {
                    return false;
                }
                member = pattern.at(i + 1);
                ++i;
            } else if (member == QLatin1Char('-') || member == QLatin1Char('[')) {
                return false;
            }
            if (member.unicode() >= 256) {
                return false;
            }
            atom.set.setBit(member.unicode());
            ++i;
        }
        if (i >= pattern.size()) {
            return false;
        }
        ++i;
        return true;
    }
    if (isSpecial(c)) {
        return false;
    }
    atom.character = c;
    ++i;
    return true;
}

bool VelutraRunMatcher::parse(const QString &pattern)
{
    m_atoms.clear();
    m_groupStarts.clear();
    m_groupEnds.clear();
    if (!pattern.startsWith(QLatin1Char('^'))) {
        return false;
    }
    bool inGroup = false;
    int i = 1;
    while (i < pattern.size()) {
        const QChar c = pattern.at(i);
        if (c == QLatin1Char('(')) {
            if (inGroup || (i + 1 < pattern.size() && pattern.at(i + 1) == QLatin1Char('?'))) {
                return false;
            }
            const int close = pattern.indexOf(QLatin1Char(')'), i);
            const QString inside = pattern.mid(i + 1, close - i - 1);
            if (close > 0 && inside.contains(QLatin1Char('|'))) {
                // A group of plain words: one atom.
                Atom atom;
                atom.kind = Kind::Words;
                atom.words = inside.split(QLatin1Char('|'));
                for (const QString &word : qAsConst(atom.words)) {
                    if (word.isEmpty()) {
                        return false;
                    }
                    for (const QChar letter : word) {
                        if (isSpecial(letter)) {
                            return false;
                        }
                    }
                    for (const QString &other : qAsConst(atom.words)) {
                        if (&other != &word && other.startsWith(word)) {
                            return false;
                        }
                    }
                }
                i = close + 1;
                if (i < pattern.size() && isQuantifier(pattern.at(i))) {
                    return false;
                }
                m_groupStarts.append(m_atoms.size());
                m_atoms.append(atom);
                m_groupEnds.append(m_atoms.size());
                continue;
            }
            inGroup = true;
            m_groupStarts.append(m_atoms.size());
            ++i;
            continue;
        }
        if (c == QLatin1Char(')')) {
            if (!inGroup || (i + 1 < pattern.size() && isQuantifier(pattern.at(i + 1)))) {
                return false;
            }
            inGroup = false;
            m_groupEnds.append(m_atoms.size());
            ++i;
            continue;
        }
        Atom atom;
        if (!readAtom(pattern, i, atom)) {
            return false;
        }
        if (i < pattern.size() && isQuantifier(pattern.at(i))) {
            const QChar quantifier = pattern.at(i);
            if (quantifier == QLatin1Char('{')) {
                return false;
            }
            atom.minimum = quantifier == QLatin1Char('+') ? 1 : 0;
            atom.maximum = quantifier == QLatin1Char('?') ? 1 : -1;
            ++i;
            if (i < pattern.size() && isQuantifier(pattern.at(i))) {
                return false;
            }
        }
        m_atoms.append(atom);
    }
    if (inGroup || m_atoms.isEmpty()) {
        return false;
    }
    // Every run that is not the last atom must end where the next atom begins.
    for (int a = 0; a + 1 < m_atoms.size(); ++a) {
        const Atom &atom = m_atoms.at(a);
        const bool variable = atom.minimum != atom.maximum;
        if (!variable) {
            continue;
        }
        const Atom &next = m_atoms.at(a + 1);
        if (next.minimum == 0 || mayOverlap(atom, next)) {
            return false;
        }
    }
    m_positions.resize(m_atoms.size() + 1);
    return true;
}

bool VelutraRunMatcher::matchesAtStart(const QString &line)
{
    const QChar *text = line.constData();
    const int size = line.size();
    int position = 0;
    for (int a = 0; a < m_atoms.size(); ++a) {
        const Atom &atom = m_atoms.at(a);
        m_positions[a] = position;
        if (atom.kind == Kind::Words) {
            bool found = false;
            for (const QString &word : atom.words) {
                if (QStringView(text + position, size - position).startsWith(word)) {
                    position += word.size();
                    found = true;
                    break;
                }
            }
            if (!found) {
                return false;
            }
            continue;
        }
        int count = 0;
        while ((atom.maximum < 0 || count < atom.maximum) && position < size
               && contains(atom, text[position])) {
            ++position;
            ++count;
        }
        if (count < atom.minimum) {
            return false;
        }
    }
    m_positions[m_atoms.size()] = position;
    m_matchedLine = line;
    return true;
}

QString VelutraRunMatcher::cap(int n) const
{
    if (n == 0) {
        return m_matchedLine.left(m_positions.last());
    }
    if (n < 1 || n > m_groupStarts.size()) {
        return QString();
    }
    const int from = m_positions.at(m_groupStarts.at(n - 1));
    const int to = m_positions.at(m_groupEnds.at(n - 1));
    return m_matchedLine.mid(from, to - from);
}
