// The X11 backend's arrival path on every input of the fuzzing corpus and every finding kept:
// hostile announcements and carrier properties against a real X server.
#include "x11_arrival_check.h"

#include <QDir>
#include <QFile>
#include <QtTest>

class tst_XcbArrival : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void replayCorpus_data();
    void replayCorpus();

private:
    std::unique_ptr<x11arrivalcheck::Harness> m_harness;
};

void tst_XcbArrival::initTestCase()
{
    m_harness = std::make_unique<x11arrivalcheck::Harness>();
    QVERIFY2(m_harness->open(), "no X server");
}

void tst_XcbArrival::replayCorpus_data()
{
    QTest::addColumn<QString>("path");
    int files = 0;
    for (const char *sub : { "corpus/x11_arrival", "regressions/x11_arrival" }) {
        const QDir dir(QStringLiteral(KORVEX_FUZZ_DIR "/") + QLatin1String(sub));
        for (const QFileInfo &f : dir.entryInfoList(QDir::Files, QDir::Name)) {
            QTest::newRow(qPrintable(QLatin1String(sub) + '/' + f.fileName())) << f.filePath();
            ++files;
        }
    }
    QVERIFY2(files >= 10, "the seed corpus is missing");
}

void tst_XcbArrival::replayCorpus()
{
    QFETCH(QString, path);
    QFile f(path);
    QVERIFY(f.open(QIODevice::ReadOnly));
    const QByteArray input = f.readAll();
    const char *broken = m_harness->run(reinterpret_cast<const std::uint8_t *>(input.constData()),
                                        std::size_t(input.size()));
    QVERIFY2(!broken, broken);
}

QTEST_GUILESS_MAIN(tst_XcbArrival)
#include "tst_xcbarrival.moc"
