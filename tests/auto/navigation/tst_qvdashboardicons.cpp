#include "qmlutils/qvdashboard_icons.h"

#include <QFile>
#include <QFontDatabase>
#include <QMetaProperty>
#include <QRawFont>
#include <QtTest>

class tst_QVDashboardIcons : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void fontFamilyIsFirst();
    void everyIconIsOneGlyphOfTheFont();
    void fontRegistersUnderItsFamily();

private:
    QRawFont m_font;
};

void tst_QVDashboardIcons::initTestCase()
{
    QFile file(QStringLiteral(":/Fonts/QVDashboardIcons.ttf"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    m_font.loadFromData(file.readAll(), 16, QFont::PreferDefaultHinting);
    QVERIFY(m_font.isValid());
}

void tst_QVDashboardIcons::fontFamilyIsFirst()
{
    const QVDashboardIcons icons;
    const QMetaObject *mo = icons.metaObject();
    const QMetaProperty first = mo->property(mo->propertyOffset());
    QCOMPARE(QByteArray(first.name()), QByteArray("fontFamily"));
    QCOMPARE(first.read(&icons).toString(), QStringLiteral("qvdashboardicons"));
    QCOMPARE(m_font.familyName(), QStringLiteral("qvdashboardicons"));
}

void tst_QVDashboardIcons::everyIconIsOneGlyphOfTheFont()
{
    const QVDashboardIcons icons;
    const QMetaObject *mo = icons.metaObject();
    int checked = 0;
    for (int i = mo->propertyOffset() + 1; i < mo->propertyCount(); ++i) {
        const QMetaProperty p = mo->property(i);
        const QString glyph = p.read(&icons).toString();
        QVERIFY2(glyph.size() == 1, p.name());
        QVERIFY2(glyph.toUtf8().size() == 3, p.name());
        const char16_t codePoint = glyph.at(0).unicode();
        QVERIFY2(codePoint >= 0xE000 && codePoint <= 0xF8FF, p.name());
        QVERIFY2(m_font.supportsCharacter(glyph.at(0)), p.name());
        ++checked;
    }
    QVERIFY(checked >= 23);
    // The names the navigation lists and menus read.
    for (const char *name : { "home", "sharedLabelsFolder", "labelDesigner", "premadeSigns",
                              "arcFlash", "chemical", "nfpa", "pipeMarking", "symbolCreator",
                              "printers", "resources", "help", "chat", "feedback", "about",
                              "generalSettings", "logOut", "tapeRuler", "language", "palette",
                              "shield", "cloud", "restart" })
        QVERIFY2(!icons.property(name).toString().isEmpty(), name);
    QVERIFY(!icons.property("noSuchIcon").isValid());
}

void tst_QVDashboardIcons::fontRegistersUnderItsFamily()
{
    const int id = QFontDatabase::addApplicationFont(QStringLiteral(":/Fonts/QVDashboardIcons.ttf"));
    QVERIFY(id >= 0);
    QCOMPARE(QFontDatabase::applicationFontFamilies(id), QStringList { QStringLiteral("qvdashboardicons") });
}

QTEST_MAIN(tst_QVDashboardIcons)
#include "tst_qvdashboardicons.moc"
