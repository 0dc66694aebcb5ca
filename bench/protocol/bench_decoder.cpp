// Feeds the reply lines of a polling cycle to one decoder, over and over, and reports how
// many lines a second it decodes.
//
//   bench_decoder [lines] [corpus file]
//
// The corpus is what one turn of the polling list brings back (echoes and replies of a
// harmonic module with three ovens), so the mix of line kinds is the one the program sees.

#include "velutraresponsedecoder.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QVector>

#include <cstdio>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    const qint64 lineCount = arguments.size() > 1 ? arguments.at(1).toLongLong() : 3000000;
    const QString corpusPath
            = arguments.size() > 2 ? arguments.at(2) : QStringLiteral(PROTOCOL_BENCH_CORPUS);

    QFile corpus(corpusPath);
    if (!corpus.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "cannot read %s\n", qPrintable(corpusPath));
        return 1;
    }
    QVector<QByteArray> lines;
    while (!corpus.atEnd()) {
        lines.append(corpus.readLine());
    }
    if (lines.isEmpty() || lineCount <= 0) {
        std::fprintf(stderr, "nothing to decode\n");
        return 1;
    }

    VelutraResponseDecoder decoder;
    qint64 emitted = 0;
    // Count every emission, so that the work of building signal arguments is included.
    QObject::connect(&decoder, &VelutraResponseDecoder::sigUnhandledLineData,
                     [&emitted](const QByteArray &) { ++emitted; });
    QObject::connect(&decoder, &VelutraResponseDecoder::sigParsingError,
                     [&emitted](const QByteArray &) { ++emitted; });

    // One cycle first, so that the first-publication of every value is not timed.
    for (const QByteArray &line : qAsConst(lines)) {
        decoder.slotLineReceived(line);
    }

    QElapsedTimer timer;
    timer.start();
    for (qint64 i = 0; i < lineCount; ++i) {
        decoder.slotLineReceived(lines.at(int(i % lines.size())));
    }
    const qint64 nanoseconds = timer.nsecsElapsed();

    const double seconds = double(nanoseconds) / 1e9;
    std::printf("corpus: %d lines per polling cycle (%s)\n", lines.size(), qPrintable(corpusPath));
    std::printf("decoded %lld lines in %.3f s: %.0f lines/s, %.0f ns/line\n", lineCount, seconds,
                double(lineCount) / seconds, double(nanoseconds) / double(lineCount));
    std::printf("unhandled or parsing errors: %lld\n", emitted);
    return emitted == 0 ? 0 : 2;
}
