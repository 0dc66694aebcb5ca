// Feeds arbitrary bytes to the reply decoder, line by line, the way the serial handler
// delivers them. Whatever arrives must neither crash nor trip a sanitizer. On top of that,
// the first line of every input is matched against every pattern the decoder matches
// without QRegExp, and the result is compared with QRegExp's own: a difference aborts.

#include "velutralinepattern.h"
#include "velutraresponsedecoder.h"

#include <QByteArray>
#include <QRegExp>
#include <QString>

#include <cstdint>
#include <cstdlib>
#include <vector>

namespace {

struct Checked
{
    VelutraLinePattern pattern;
    QRegExp reference;
};

std::vector<Checked> &directPatterns()
{
    static std::vector<Checked> s_patterns = [] {
        std::vector<Checked> patterns;
        const QStringList texts = VelutraResponseDecoder::linePatterns();
        for (const QString &text : texts) {
            VelutraLinePattern pattern(text);
            if (pattern.isDirect()) {
                patterns.push_back({pattern, QRegExp(text, Qt::CaseSensitive, QRegExp::RegExp)});
            }
        }
        return patterns;
    }();
    return s_patterns;
}

void compareWithQRegExp(const QByteArray &bytes)
{
    const QString line = QString::fromLatin1(bytes);
    for (Checked &checked : directPatterns()) {
        const bool expected = checked.reference.indexIn(line) == 0;
        if (checked.pattern.matchesAtStart(line) != expected) {
            std::abort();
        }
        if (expected) {
            for (int i = 0; i <= checked.reference.captureCount(); ++i) {
                if (checked.pattern.cap(i) != checked.reference.cap(i)) {
                    std::abort();
                }
            }
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static VelutraResponseDecoder s_decoder;
    static unsigned s_inputs = 0;

    const QByteArray input(reinterpret_cast<const char *>(data), int(size));
    // Now and then a disconnection, so that the reset and the republishing run too.
    if (++s_inputs % 64 == 0) {
        s_decoder.slotConnectedStatus(false);
    }

    int start = 0;
    bool first = true;
    while (start < input.size()) {
        int end = input.indexOf('\n', start);
        end = end < 0 ? input.size() : end + 1;
        const QByteArray line = input.mid(start, end - start);
        if (first && line.size() <= 512) {
            compareWithQRegExp(line);
        }
        first = false;
        s_decoder.slotLineReceived(line);
        start = end;
    }
    if (input.isEmpty()) {
        s_decoder.slotLineReceived(input);
    }
    return 0;
}
