#include "velutralinepattern.h"

namespace {

bool isMetaCharacter(QChar c)
{
    static const QString s_metaCharacters = QStringLiteral("\\.*+?[](){}|^$");
    return s_metaCharacters.contains(c);
}

bool isQuantifier(QChar c)
{
    return c == QLatin1Char('*') || c == QLatin1Char('+') || c == QLatin1Char('?')
           || c == QLatin1Char('{');
}

// An alternation outside brackets and groups splits the whole pattern, so nothing after "^"
// would be required any more.
bool hasTopLevelAlternation(const QString &pattern)
{
    int depth = 0;
    bool inClass = false;
    for (int i = 0; i < pattern.size(); ++i) {
        const QChar c = pattern.at(i);
        if (c == QLatin1Char('\\')) {
            ++i;
        } else if (inClass) {
            inClass = c != QLatin1Char(']');
        } else if (c == QLatin1Char('[')) {
            inClass = true;
        } else if (c == QLatin1Char('(')) {
            ++depth;
        } else if (c == QLatin1Char(')')) {
            --depth;
        } else if (c == QLatin1Char('|') && depth == 0) {
            return true;
        }
    }
    return false;
}

} // namespace

VelutraLinePattern::VelutraLinePattern(const QString &pattern)
    : m_pattern(pattern)
    , m_regExp(pattern, Qt::CaseSensitive, QRegExp::RegExp)
{
    deriveRequiredLiteral();
    deriveFirstCharacters();
    m_direct = m_regExp.isValid() && parseDirect();
    if (!m_direct) {
        m_literals.clear();
        m_groupStarts.clear();
        m_groupEnds.clear();
        m_runs = m_regExp.isValid() && m_runMatcher.parse(pattern);
    }
    m_literalPositions.resize(m_literals.size());
    m_fixed.resize(m_literals.size());
    m_earliest.resize(m_literals.size());
    m_latest.resize(m_literals.size());
}

bool VelutraLinePattern::matchesAtStart(const QString &line)
{
    if (m_direct) {
        // The direct match looks for its literals itself, as cheaply as a prefilter would.
        return matchDirect(line);
    }
    if (m_runs) {
        return m_runMatcher.matchesAtStart(line);
    }
    if (!m_requiredLiteral.isEmpty()) {
        const bool present = m_literalAtStart ? line.startsWith(m_requiredLiteral)
                                              : line.contains(m_requiredLiteral);
        if (!present) {
            return false;
        }
    }
    return m_regExp.indexIn(line) == 0;
}

QString VelutraLinePattern::cap(int n) const
{
    if (m_runs) {
        return m_runMatcher.cap(n);
    }
    if (!m_direct) {
        return m_regExp.cap(n);
    }
    if (m_literalPositions.isEmpty() || n < 0 || n > m_groupStarts.size()) {
        return QString();
    }
    if (n == 0) {
        const int end = m_literalPositions.last() + m_literals.last().text.size();
        return m_matchedLine.left(end);
    }
    const Boundary &start = m_groupStarts.at(n - 1);
    const Boundary &end = m_groupEnds.at(n - 1);
    const int from = m_literalPositions.at(start.literal) + start.offset;
    const int to = m_literalPositions.at(end.literal) + end.offset;
    return m_matchedLine.mid(from, to - from);
}

int VelutraLinePattern::captureCount() const
{
    if (m_runs) {
        return m_runMatcher.captureCount();
    }
    return m_direct ? m_groupStarts.size() : m_regExp.captureCount();
}

bool VelutraLinePattern::parseDirect()
{
    // Accepts "^", literal characters, escaped punctuation, "." as one character, ".*" and
    // ".+" as gaps, and non-nested groups; anything else is left to QRegExp.
    if (!m_pattern.startsWith(QLatin1Char('^'))) {
        return false;
    }
    Literal current;
    bool inGroup = false;
    const int size = m_pattern.size();
    int i = 1;
    while (i < size) {
        const QChar c = m_pattern.at(i);
        const QChar next = i + 1 < size ? m_pattern.at(i + 1) : QChar();
        if (c == QLatin1Char('(')) {
            if (inGroup || next == QLatin1Char('?')) {
                return false;
            }
            inGroup = true;
            m_groupStarts.append({m_literals.size(), current.text.size()});
            ++i;
            continue;
        }
        if (c == QLatin1Char(')')) {
            if (!inGroup) {
                return false;
            }
            inGroup = false;
            m_groupEnds.append({m_literals.size(), current.text.size()});
            ++i;
            continue;
        }
        if (c == QLatin1Char('.') && (next == QLatin1Char('*') || next == QLatin1Char('+'))) {
            if (i + 2 < size && isQuantifier(m_pattern.at(i + 2))) {
                return false;
            }
            m_literals.append(current);
            current = Literal();
            current.gapBefore = next == QLatin1Char('+') ? 1 : 0;
            i += 2;
            continue;
        }
        QChar character = c;
        bool wildcard = false;
        int width = 1;
        if (c == QLatin1Char('.')) {
            wildcard = true;
        } else if (c == QLatin1Char('\\')) {
            if (next.isNull() || next.isLetterOrNumber()) {
                return false;
            }
            character = next;
            width = 2;
        } else if (isMetaCharacter(c)) {
            return false;
        }
        if (i + width < size && isQuantifier(m_pattern.at(i + width))) {
            return false;
        }
        current.text.append(wildcard ? QChar() : character);
        current.wildcard.append(wildcard);
        i += width;
    }
    if (inGroup) {
        return false;
    }
    m_literals.append(current);
    for (Literal &literal : m_literals) {
        literal.hasWildcard = literal.wildcard.contains(true);
    }
    return true;
}

bool VelutraLinePattern::literalAt(const Literal &literal, const QChar *text, int position) const
{
    const ushort *wanted = reinterpret_cast<const ushort *>(literal.text.constData());
    const ushort *here = reinterpret_cast<const ushort *>(text) + position;
    const int length = literal.text.size();
    if (!literal.hasWildcard) {
        for (int i = 0; i < length; ++i) {
            if (here[i] != wanted[i]) {
                return false;
            }
        }
        return true;
    }
    const bool *wildcard = literal.wildcard.constData();
    for (int i = 0; i < length; ++i) {
        if (here[i] != wanted[i] && !wildcard[i]) {
            return false;
        }
    }
    return true;
}

int VelutraLinePattern::firstOccurrence(const Literal &literal, const QChar *text, int size,
                                        int from) const
{
    const int last = size - literal.text.size();
    if (literal.text.isEmpty() || literal.wildcard.at(0)) {
        for (int position = from; position <= last; ++position) {
            if (literalAt(literal, text, position)) {
                return position;
            }
        }
        return -1;
    }
    // Look for the first character alone, then compare the rest.
    const ushort lead = literal.text.at(0).unicode();
    const ushort *characters = reinterpret_cast<const ushort *>(text);
    for (int position = from; position <= last; ++position) {
        if (characters[position] == lead && literalAt(literal, text, position)) {
            return position;
        }
    }
    return -1;
}

int VelutraLinePattern::lastOccurrence(const Literal &literal, const QChar *text, int upTo) const
{
    for (int position = upTo; position >= 0; --position) {
        if (literalAt(literal, text, position)) {
            return position;
        }
    }
    return -1;
}

bool VelutraLinePattern::placeLiterals(const QChar *text, int size)
{
    // Earliest and latest place of every literal such that the whole pattern still matches,
    // honouring the literals already fixed. A literal can sit at any of its occurrences in
    // between: the gaps on either side take up the rest.
    const int count = m_literals.size();
    for (int k = 1; k < count; ++k) {
        const Literal &literal = m_literals.at(k);
        const int from
                = m_earliest.at(k - 1) + m_literals.at(k - 1).text.size() + literal.gapBefore;
        const int fixed = m_fixed.at(k);
        if (fixed >= 0) {
            if (fixed < from) {
                return false;
            }
            m_earliest[k] = fixed;
        } else {
            m_earliest[k] = firstOccurrence(literal, text, size, from);
            if (m_earliest.at(k) < 0) {
                return false;
            }
        }
    }
    int limit = size;
    for (int k = count - 1; k >= 1; --k) {
        const Literal &literal = m_literals.at(k);
        const int fixed = m_fixed.at(k);
        m_latest[k]
                = fixed >= 0 ? fixed : lastOccurrence(literal, text, limit - literal.text.size());
        limit = m_latest.at(k) - literal.gapBefore;
    }
    return true;
}

bool VelutraLinePattern::matchDirect(const QString &line)
{
    // QRegExp takes the longest match, and among the longest the one whose first group starts
    // earliest, then ends latest, then the same for the second group, and so on. Each choice
    // fixes one literal; the others stay free between their earliest and latest place.
    const QChar *text = line.constData();
    const int size = line.size();
    const int count = m_literals.size();
    const Literal &first = m_literals.at(0);
    if (first.text.size() > size || !literalAt(first, text, 0)) {
        return false;
    }
    m_fixed.fill(-1);
    m_fixed[0] = 0;
    m_earliest[0] = 0;
    m_latest[0] = 0;
    if (!placeLiterals(text, size)) {
        return false;
    }
    // The longest match: the last literal as late as it can be.
    if (count > 1) {
        m_fixed[count - 1] = m_latest.at(count - 1);
        placeLiterals(text, size);
    }
    for (int group = 0; group < m_groupStarts.size(); ++group) {
        const int startLiteral = m_groupStarts.at(group).literal;
        if (m_fixed.at(startLiteral) < 0) {
            m_fixed[startLiteral] = m_earliest.at(startLiteral);
            placeLiterals(text, size);
        }
        const int endLiteral = m_groupEnds.at(group).literal;
        if (m_fixed.at(endLiteral) < 0) {
            m_fixed[endLiteral] = m_latest.at(endLiteral);
            placeLiterals(text, size);
        }
    }
    for (int k = 0; k < count; ++k) {
        m_literalPositions[k] = m_fixed.at(k) >= 0 ? m_fixed.at(k) : m_earliest.at(k);
    }
    m_matchedLine = line;
    return true;
}

void VelutraLinePattern::deriveRequiredLiteral()
{
    m_requiredLiteral.clear();
    m_literalAtStart = true;
    if (!m_pattern.startsWith(QLatin1Char('^')) || hasTopLevelAlternation(m_pattern)) {
        return;
    }
    int i = 1;
    if (m_pattern.midRef(i, 2) == QLatin1String(".*")) {
        m_literalAtStart = false;
        i += 2;
    }
    QString literal;
    while (i < m_pattern.size()) {
        QChar atom = m_pattern.at(i);
        int next = i + 1;
        if (atom == QLatin1Char('\\')) {
            // Only an escaped punctuation character stands for itself; \s, \d, \t ... do not.
            if (next >= m_pattern.size()) {
                break;
            }
            const QChar escaped = m_pattern.at(next);
            if (!isMetaCharacter(escaped) && escaped != QLatin1Char('/')) {
                break;
            }
            atom = escaped;
            ++next;
        } else if (isMetaCharacter(atom)) {
            break;
        }
        if (next < m_pattern.size() && isQuantifier(m_pattern.at(next))) {
            // An optional atom is not required; a repeated one is required once, but the
            // literal run cannot continue past it.
            if (m_pattern.at(next) == QLatin1Char('+')) {
                literal.append(atom);
            }
            break;
        }
        literal.append(atom);
        i = next;
    }
    m_requiredLiteral = literal;
}

void VelutraLinePattern::deriveFirstCharacters()
{
    // The characters a match can begin with: those of the first atom after "^", and of the
    // atoms after it for as long as they may be skipped ("\d* \d*" can start with a digit or
    // a blank). Anything not understood here allows every character.
    m_firstCharacters.fill(true);
    if (!m_pattern.startsWith(QLatin1Char('^')) || hasTopLevelAlternation(m_pattern)) {
        return;
    }
    QBitArray first(256, false);
    int i = 1;
    const int size = m_pattern.size();
    while (i < size) {
        const QChar c = m_pattern.at(i);
        QBitArray atom(256, false);
        int width = 1;
        if (c == QLatin1Char('\\') && i + 1 < size) {
            const QChar escaped = m_pattern.at(i + 1);
            width = 2;
            if (escaped == QLatin1Char('s') || escaped == QLatin1Char('d')) {
                // QRegExp's own classes, as QChar defines them.
                for (int code = 0; code < 256; ++code) {
                    const QChar candidate(code);
                    atom.setBit(code, escaped == QLatin1Char('s') ? candidate.isSpace()
                                                                  : candidate.isDigit());
                }
            } else if (!escaped.isLetterOrNumber() && escaped.unicode() < 256) {
                atom.setBit(escaped.unicode());
            } else {
                return;
            }
        } else if (isMetaCharacter(c) || c.unicode() >= 256) {
            return;
        } else {
            atom.setBit(c.unicode());
        }
        first |= atom;
        const QChar quantifier = i + width < size ? m_pattern.at(i + width) : QChar();
        if (quantifier == QLatin1Char('*') || quantifier == QLatin1Char('?')) {
            i += width + 1; // may be skipped: the next atom can start the match too
            continue;
        }
        if (quantifier == QLatin1Char('{')) {
            return;
        }
        m_firstCharacters = first;
        return;
    }
}
