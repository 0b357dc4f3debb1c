#include "Controllers/dashboard_file_info_struct.h"

#include <QMetaProperty>
#include <QVariant>
#include <QtTest>

class tst_DashboardFileInfoStruct : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void defaults();
    void propertiesInOrder();
    void registeredWithItsListType();
    void propertiesReadAndWrite();
};

void tst_DashboardFileInfoStruct::defaults()
{
    const DashboardFileInfoStruct r;
    QVERIFY(r.labelFileName.isEmpty());
    QVERIFY(r.filePath.isEmpty());
    QCOMPARE(r.isWritable, true);
    QCOMPARE(r.isFavorite, false);
    QCOMPARE(r.type, false);
    QCOMPARE(r.id, -1);
    QCOMPARE(r.cloudEnum, 1);
    QVERIFY(!r.accessDate.isValid());
    QVERIFY(!r.createdDate.isValid());
    QVERIFY(r.timeSinceCreated.isEmpty());
    QVERIFY(r.timeSinceModified.isEmpty());
    QCOMPARE(r.selected, false);
}

void tst_DashboardFileInfoStruct::propertiesInOrder()
{
    const QMetaObject &mo = DashboardFileInfoStruct::staticMetaObject;
    const QList<QPair<QByteArray, QByteArray>> expected = {
        { "labelFileName", "QString" }, { "filePath", "QString" }, { "isWritable", "bool" },
        { "isFavorite", "bool" },       { "type", "bool" },        { "id", "int" },
        { "cloudEnum", "int" },         { "accessDate", "QDateTime" },
        { "createdDate", "QDateTime" }, { "timeSinceCreated", "QString" },
        { "timeSinceModified", "QString" }, { "selected", "bool" },
    };
    QCOMPARE(mo.propertyCount() - mo.propertyOffset(), int(expected.size()));
    for (int i = 0; i < expected.size(); ++i) {
        const QMetaProperty p = mo.property(mo.propertyOffset() + i);
        QCOMPARE(QByteArray(p.name()), expected.at(i).first);
        QCOMPARE(QByteArray(p.typeName()), expected.at(i).second);
        QVERIFY(p.isWritable());
        QVERIFY(!p.hasNotifySignal());
    }
}

void tst_DashboardFileInfoStruct::registeredWithItsListType()
{
    QVERIFY(QMetaType::fromName("DashboardFileInfoStruct").isValid());
    QCOMPARE(QMetaType::fromName("DashboardFileInfoStruct"), QMetaType::fromType<DashboardFileInfoStruct>());
    QCOMPARE(QMetaType::fromName("QList<DashboardFileInfoStruct>"),
             QMetaType::fromType<QList<DashboardFileInfoStruct>>());

    DashboardFileInfoStruct r;
    r.labelFileName = "a.kxld";
    r.id = 3;
    const QVariant v = QVariant::fromValue(QList<DashboardFileInfoStruct>({ r }));
    QCOMPARE(v.value<QList<DashboardFileInfoStruct>>().first(), r);
}

void tst_DashboardFileInfoStruct::propertiesReadAndWrite()
{
    DashboardFileInfoStruct r;
    const QMetaObject &mo = DashboardFileInfoStruct::staticMetaObject;
    const QDateTime t(QDate(2024, 3, 15), QTime(10, 0));
    QVERIFY(mo.property(mo.indexOfProperty("labelFileName")).writeOnGadget(&r, QString("x.kxld")));
    QVERIFY(mo.property(mo.indexOfProperty("accessDate")).writeOnGadget(&r, t));
    QVERIFY(mo.property(mo.indexOfProperty("type")).writeOnGadget(&r, true));
    QCOMPARE(r.labelFileName, QString("x.kxld"));
    QCOMPARE(r.accessDate, t);
    QCOMPARE(r.type, true);
    QCOMPARE(mo.property(mo.indexOfProperty("id")).readOnGadget(&r).toInt(), -1);
    r.filePath = "/l";
    QCOMPARE(r.fullPath(), QString("/l/x.kxld"));
}

QTEST_GUILESS_MAIN(tst_DashboardFileInfoStruct)
#include "tst_dashboardfileinfostruct.moc"
