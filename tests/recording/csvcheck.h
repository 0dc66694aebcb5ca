#ifndef CSVCHECK_H
#define CSVCHECK_H

#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QVector>

// Reads a CSV file with Python's csv module (the reader a lab script would use) and returns
// its rows; empty with *error set when Python cannot read it.
inline QVector<QStringList> readCsvWithPython(const QString &path, QString *error)
{
    static const char script[] = "import csv, json, sys\n"
                                 "with open(sys.argv[1], newline='', encoding='utf-8') as f:\n"
                                 "    rows = list(csv.reader(f, strict=True))\n"
                                 "json.dump(rows, sys.stdout)\n";
    QProcess python;
    python.start(QStringLiteral("python3"),
                 {QStringLiteral("-c"), QString::fromLatin1(script), path});
    QVector<QStringList> rows;
    if (!python.waitForFinished(30000) || python.exitCode() != 0) {
        *error = QString::fromLocal8Bit(python.readAllStandardError());
        return rows;
    }
    const QJsonArray array = QJsonDocument::fromJson(python.readAllStandardOutput()).array();
    for (const QJsonValue &row : array) {
        QStringList cells;
        for (const QJsonValue &cell : row.toArray()) {
            cells.append(cell.toString());
        }
        rows.append(cells);
    }
    return rows;
}

#endif // CSVCHECK_H
