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
}

bool VelutraLinePattern::matchesAtStart(const QString &line)
{
    if (!m_requiredLiteral.isEmpty()) {
        const bool present = m_literalAtStart ? line.startsWith(m_requiredLiteral)
                                              : line.contains(m_requiredLiteral);
        if (!present) {
            return false;
        }
    }
    return m_regExp.indexIn(line) == 0;
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
