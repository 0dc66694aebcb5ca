// The whole chain a reply line travels inside the program: decoder, controller, and the
// control panel that the controller's signals reach. Every cycle first marks every published
// value stale, so that each line really goes all the way to the panel, as it does when the
// laser's values move; a cycle of unchanged values would cost the controller nothing.
//
//   bench_controller [cycles] [corpus file]
//
// Run it under valgrind --tool=callgrind with a few hundred cycles for instruction counts.

#include "maincontrolpanel.h"
#include "velutracontroller.h"
#include "velutraresponsedecoder.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QMetaMethod>
#include <QVector>

#include <cstdio>

namespace {

QVector<QMetaMethod> staleMarks(const QObject *decoder)
{
    QVector<QMetaMethod> marks;
    const QMetaObject *meta = decoder->metaObject();
    for (int i = meta->methodOffset(); i < meta->methodCount(); ++i) {
        const QMetaMethod method = meta->method(i);
        if (method.methodType() == QMetaMethod::Slot && method.parameterCount() == 0
            && method.name().startsWith("markStale_")) {
            marks.append(method);
        }
    }
    return marks;
}

} // namespace

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    const int cycles = arguments.size() > 1 ? arguments.at(1).toInt() : 2000;
    const QString corpusPath
            = arguments.size() > 2 ? arguments.at(2) : QStringLiteral(CONTROLLER_BENCH_CORPUS);

    QFile corpus(corpusPath);
    if (!corpus.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "cannot read %s\n", qPrintable(corpusPath));
        return 1;
    }
    QVector<QByteArray> lines;
    while (!corpus.atEnd()) {
        lines.append(corpus.readLine());
    }
    if (lines.isEmpty() || cycles <= 0) {
        std::fprintf(stderr, "nothing to decode\n");
        return 1;
    }

    MainControlPanel panel;
    VelutraController controller(nullptr, &panel, nullptr, nullptr);
    controller.slotConnectedStatus(true);
    controller.slotMainLoop(); // builds and wires the panel
    controller.slotMainLoop(); // connected: the panel is enabled
    VelutraResponseDecoder *decoder = controller.decoder();
    const QVector<QMetaMethod> marks = staleMarks(decoder);

    // One cycle first: module lists, ranges and step lists settle before timing starts.
    for (const QByteArray &line : qAsConst(lines)) {
        decoder->slotLineReceived(line);
    }

    qint64 lineCount = 0;
    qint64 markNanoseconds = 0;
    QElapsedTimer timer;
    QElapsedTimer markTimer;
    timer.start();
    for (int cycle = 0; cycle < cycles; ++cycle) {
        markTimer.start();
        for (const QMetaMethod &mark : marks) {
            mark.invoke(decoder, Qt::DirectConnection);
        }
        markNanoseconds += markTimer.nsecsElapsed();
        for (const QByteArray &line : qAsConst(lines)) {
            decoder->slotLineReceived(line);
        }
        lineCount += lines.size();
    }
    const qint64 nanoseconds = timer.nsecsElapsed() - markNanoseconds;

    std::printf("stale marks per cycle:   %d\n", int(marks.size()));
    std::printf("lines per cycle:         %d\n", int(lines.size()));
    std::printf("lines decoded:           %lld\n", lineCount);
    std::printf("time per line:           %.2f us (decoder + controller + panel)\n",
                double(nanoseconds) / 1000.0 / double(lineCount));
    return 0;
}
