#pragma once

#include "dashboard_host.h"

#include <korvexdashboard.h>

#include <QQuickItem>
#include <QQuickWindow>
#include <QSettings>
#include <QTest>

#include <memory>

// The user's dashboard settings, where the front end reads and writes them.
inline QString dashboardSettingsFile()
{
    return QSettings(QSettings::IniFormat, QSettings::UserScope, QString::fromLatin1(DashboardSettings::ORGANIZATION_NAME),
                     QString::fromLatin1(DashboardSettings::DASHBOARD_APPLICATION_NAME))
            .fileName();
}

// Starts the real front end and waits until a user could use it: the window shown at a
// desktop size and active, and the Home lists filled (the other tabs' lists fill once the
// first frame is out). The old dashboard goes first: both would share the process's stores.
inline bool startUsableHost(std::unique_ptr<DashboardHost> *host, const DashboardHost::Options &options)
{
    host->reset();
    *host = std::make_unique<DashboardHost>();
    if (!(*host)->start(options)) {
        qWarning("%s", qPrintable((*host)->errors().join(QLatin1Char('\n'))));
        return false;
    }
    QQuickWindow *window = (*host)->window();
    window->setGeometry(0, 0, 1400, 1000);
    if (!QTest::qWaitForWindowExposed(window) || !QTest::qWaitFor([&] { return (*host)->isReady(); }))
        return false;
    for (const char *list : { "recentList", "labelList", "favoriteList" }) {
        QObject *object = (*host)->rootItem()->findChild<QObject *>(QString::fromLatin1(list));
        if (!object || !QTest::qWaitFor([object] { return !object->property("busy").toBool(); }))
            return false;
    }
    window->requestActivate();
    return QTest::qWaitFor([window] { return window->isActive(); });
}
