#include "velutralinepattern.h"
#include "velutraresponsedecoder.h"

#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QRegExp>
#include <QtTest>

namespace {

QStringList readLines(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    QStringList lines;
    while (!file.atEnd()) {
        lines.append(QString::fromLatin1(file.readLine()));
    }
    return lines;
}

// Real replies, the fuzzer's seeds, and variations of them that sit on the patterns' edges.
QStringList sampleLines()
{
    const QString data = QStringLiteral(PROTOCOL_TEST_DATA_DIR);
    QStringList lines = readLines(data + QStringLiteral("/polling_cycle.txt"))
                        + readLines(data + QStringLiteral("/other_replies.txt"));
    const QDir seeds(QStringLiteral(PROTOCOL_FUZZ_CORPUS_DIR));
    const QStringList seedFiles = seeds.entryList(QDir::Files);
    for (const QString &name : seedFiles) {
        QFile file(seeds.filePath(name));
        if (file.open(QIODevice::ReadOnly)) {
            lines.append(QString::fromLatin1(file.readAll()));
        }
    }

    QRandomGenerator random(20260101);
    static const QString s_interesting
            = QStringLiteral(" \t\n\r=->%:;/()0123456789xCWmsok\x85\xa0");
    const QStringList originals = lines;
    for (const QString &line : originals) {
        // Cut short, line feed doubled or moved, a character replaced, text inserted.
        lines.append(line.left(line.size() / 2));
        lines.append(line.left(line.size() - 1));
        lines.append(line + line);
        lines.append(QString(line).replace(QLatin1Char('\n'), QStringLiteral("\n\n")));
        for (int k = 0; k < 4 && !line.isEmpty(); ++k) {
            QString changed = line;
            const int at = int(random.bounded(quint32(line.size())));
            changed[at] = s_interesting.at(int(random.bounded(quint32(s_interesting.size()))));
            lines.append(changed);
            QString inserted = line;
            inserted.insert(at, line.mid(int(random.bounded(quint32(line.size())))));
            lines.append(inserted);
        }
    }
    lines.append(QString());
    lines.append(QStringLiteral("\n"));
    return lines;
}

} // namespace

class TestLinePattern : public QObject
{
    Q_OBJECT

private slots:
    void requiredLiteral_data();
    void requiredLiteral();
    void agreesWithQRegExpOnEveryDecoderPattern();
    void firstCharactersBehaveAsQRegExp();
    void firstCharacterSets();
    void directPatterns();
};

void TestLinePattern::requiredLiteral_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("literal");
    QTest::addColumn<bool>("atStart");
    QTest::newRow("plain") << "^Listen.*=.*ok"
                           << "Listen" << true;
    QTest::newRow("anywhere") << "^.*disabled.*=.*ok"
                              << "disabled" << false;
    QTest::newRow("escaped") << "^Timing Board S\\/N: (.*)\n"
                             << "Timing Board S/N: " << true;
    QTest::newRow("escaped parenthesis") << "^Device switch on time \\(Standby"
                                         << "Device switch on time (Standby" << true;
    QTest::newRow("class stops") << "^ZEL [ST]HG\tCurrent"
                                 << "ZEL " << true;
    QTest::newRow("space class stops") << "^ZEL\\s+[S|T]HG"
                                       << "ZEL" << true;
    QTest::newRow("repeated char counts once") << "^ab+c"
                                               << "ab" << true;
    QTest::newRow("optional char dropped") << "^ab*c"
                                           << "a" << true;
    QTest::newRow("optional char dropped too") << "^ab?c"
                                               << "a" << true;
    QTest::newRow("counted char dropped") << "^ab{2}c"
                                          << "a" << true;
    QTest::newRow("leading class") << "^\\s+(IR|SHG)"
                                   << "" << true;
    QTest::newRow("alternation at top") << "^abc|def"
                                        << "" << true;
    QTest::newRow("not anchored") << "abc"
                                  << "" << true;
    QTest::newRow("digit escape") << "^\\d* \\d* .*"
                                  << "" << true;
}

void TestLinePattern::requiredLiteral()
{
    QFETCH(QString, pattern);
    QFETCH(QString, literal);
    QFETCH(bool, atStart);
    const VelutraLinePattern linePattern(pattern);
    QCOMPARE(linePattern.requiredLiteral(), literal);
    if (!literal.isEmpty()) {
        QCOMPARE(linePattern.literalAtStart(), atStart);
    }
}

// The decoder's result must be QRegExp's on every line: the same yes or no, the same
// captures. QRegExp itself is the reference, used the way the device's patterns were written
// for: indexIn() returning 0.
void TestLinePattern::agreesWithQRegExpOnEveryDecoderPattern()
{
    // The decoder's own patterns, and a few more of the shapes the direct engines read.
    const QStringList patterns = VelutraResponseDecoder::linePatterns()
                                 + QStringList{QStringLiteral("^a*b"),
                                               QStringLiteral("^(\\d+)x"),
                                               QStringLiteral("^\\s*=\\s+(\\d*)"),
                                               QStringLiteral("^Z(E|Q)L?\\s"),
                                               QStringLiteral("^(.*)=(.+)"),
                                               QStringLiteral("^.*0.+0"),
                                               QStringLiteral("^[ST]+(\\d)"),
                                               QStringLiteral("^x.y(.*)z(.+)")};
    QVERIFY(patterns.size() > 25);
    const QStringList lines = sampleLines();
    QVERIFY(lines.size() > 1000);

    int matches = 0;
    for (const QString &pattern : patterns) {
        VelutraLinePattern linePattern(pattern);
        QRegExp reference(pattern, Qt::CaseSensitive, QRegExp::RegExp);
        QVERIFY2(reference.isValid(), qPrintable(pattern));
        for (const QString &line : lines) {
            const bool expected = reference.indexIn(line) == 0;
            const bool actual = linePattern.matchesAtStart(line);
            if (actual != expected) {
                QFAIL(qPrintable(QStringLiteral("pattern %1 on line %2: %3 instead of %4")
                                         .arg(pattern, line)
                                         .arg(actual)
                                         .arg(expected)));
            }
            if (expected && !line.isEmpty()) {
                QVERIFY2(linePattern.canStartWith(line.at(0).unicode()),
                         qPrintable(QStringLiteral("%1 on %2").arg(pattern, line)));
            }
            if (expected) {
                ++matches;
                for (int i = 0; i <= reference.captureCount(); ++i) {
                    QCOMPARE(linePattern.cap(i), reference.cap(i));
                }
            }
        }
    }
    // The samples do reach the patterns, not only miss them.
    QVERIFY(matches > 500);
}

// Characters the Latin-1 range treats as blanks or digits in the patterns' own sense.
void TestLinePattern::firstCharactersBehaveAsQRegExp()
{
    const QStringList patterns
            = {QStringLiteral("^\\s+(IR|SHG|THG|FHG)\\s+Wavelength\\s+Index:"),
               QStringLiteral("^\\d* \\d* .*"), QStringLiteral("^ZEL\\s*HG\\s+WL")};
    for (const QString &pattern : patterns) {
        VelutraLinePattern linePattern(pattern);
        QRegExp reference(pattern);
        for (int c = 0; c < 256; ++c) {
            const QString line = QString(QChar(c)) + QStringLiteral("IR Wavelength Index: 1 2 3");
            const bool expected = reference.indexIn(line) == 0;
            QCOMPARE(linePattern.matchesAtStart(line), expected);
            if (expected) {
                QVERIFY(linePattern.canStartWith(c));
            }
        }
    }
}

void TestLinePattern::firstCharacterSets()
{
    const VelutraLinePattern blanks(QStringLiteral("^\\s+(IR|SHG)"));
    QVERIFY(blanks.canStartWith(' '));
    QVERIFY(blanks.canStartWith('\t'));
    QVERIFY(blanks.canStartWith(0xa0));
    QVERIFY(blanks.canStartWith(0x85));
    QVERIFY(!blanks.canStartWith('I'));
    const VelutraLinePattern row(QStringLiteral("^\\d* \\d* .*"));
    QVERIFY(row.canStartWith('7'));
    QVERIFY(row.canStartWith(' '));
    QVERIFY(!row.canStartWith('x'));
    QVERIFY(!row.canStartWith('\t'));
    const VelutraLinePattern anywhere(QStringLiteral("^.*disabled"));
    QVERIFY(anywhere.canStartWith('x'));
    const VelutraLinePattern literal(QStringLiteral("^ZEL\\s+"));
    QVERIFY(literal.canStartWith('Z'));
    QVERIFY(!literal.canStartWith('z'));
}

void TestLinePattern::directPatterns()
{
    // The device's plain patterns are matched without QRegExp; the others are not.
    QVERIFY(VelutraLinePattern(QStringLiteral("^Compiled on: (.*)\n")).isDirect());
    QVERIFY(VelutraLinePattern(QStringLiteral("^(Velutra-.+) Hardware:(.*) Firmware:(.*)\n"))
                    .isDirect());
    QVERIFY(VelutraLinePattern(QStringLiteral("^ZEL .HG\tRuntime=(.*)s\n")).isDirect());
    QVERIFY(VelutraLinePattern(QStringLiteral("^.*disabled.*=.*ok")).isDirect());
    QVERIFY(VelutraLinePattern(QStringLiteral("^ZEL [ST]HG\tCurrent position=")).isDirect());
    QVERIFY(VelutraLinePattern(QStringLiteral("^\\d* \\d* .*")).isDirect());
    QVERIFY(VelutraLinePattern(QStringLiteral("^\\s+(IR|SHG|THG|FHG)\\s+Wavelength\\s+Index:"))
                    .isDirect());
    QVERIFY(VelutraLinePattern(QStringLiteral("^a*b")).isDirect());
    // Runs that could end in more than one place, and what neither engine reads.
    QVERIFY(!VelutraLinePattern(QStringLiteral("^ZEL [ST]HG\tCurrent position=(.*)\n")).isDirect());
    QVERIFY(!VelutraLinePattern(QStringLiteral("^a*a")).isDirect());
    QVERIFY(!VelutraLinePattern(QStringLiteral("^\\s*\\s")).isDirect());
    QVERIFY(!VelutraLinePattern(QStringLiteral("^(IR|IRX)")).isDirect());
    QVERIFY(!VelutraLinePattern(QStringLiteral("^[a-z]+1")).isDirect());
    QVERIFY(!VelutraLinePattern(QStringLiteral("^(a(b).*)")).isDirect());
    QVERIFY(!VelutraLinePattern(QStringLiteral("^a{2}b")).isDirect());
    QVERIFY(!VelutraLinePattern(
                     QStringLiteral("^ZEL\\s+([S|T])HG\\s+Output\\s+power\\s*=\\s*(.+)\n"))
                     .isDirect());

    // QRegExp's choice among several possible matches: longest, then groups in order, each
    // starting as early and ending as late as possible.
    VelutraLinePattern pattern(QStringLiteral("^L.+H: (.*), S: (.*)\n"));
    const QString line = QStringLiteral("Lx H: 1, S: 2\nL H: 3, S: 4\ntail");
    QVERIFY(pattern.matchesAtStart(line));
    QCOMPARE(pattern.cap(0), QStringLiteral("Lx H: 1, S: 2\nL H: 3, S: 4\n"));
    QCOMPARE(pattern.cap(1), QStringLiteral("1, S: 2\nL H: 3"));
    QCOMPARE(pattern.cap(2), QStringLiteral("4"));
    QRegExp reference(pattern.pattern());
    QCOMPARE(reference.indexIn(line), 0);
    QCOMPARE(reference.capturedTexts(),
             QStringList({pattern.cap(0), pattern.cap(1), pattern.cap(2)}));
}

QTEST_GUILESS_MAIN(TestLinePattern)

#include "tst_linepattern.moc"
