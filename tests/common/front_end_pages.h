#pragma once

// Shows a page of the front end by the name the tests and screenshots give it: "home",
// "mylabels" and "favorites" (Home's tabs), "cloud", "resources", "settings", and "about"
// (the About box over the page).

#include "dashboard_page.h"

#include <QObject>
#include <QString>
#include <QVariant>

namespace FrontEndPages {

inline bool show(QObject *root, const QString &name)
{
    if (name == QLatin1String("about"))
        return QMetaObject::invokeMethod(root, "openAbout");
    static const struct
    {
        const char *name;
        DashboardPage::Page page;
        int tab;
    } pages[] = {
        { "home", DashboardPage::Home, 0 },          { "mylabels", DashboardPage::Home, 1 },
        { "favorites", DashboardPage::Home, 2 },     { "cloud", DashboardPage::Cloud, 0 },
        { "resources", DashboardPage::Resources, 0 }, { "settings", DashboardPage::Settings, 0 },
    };
    for (const auto &page : pages) {
        if (name == QLatin1String(page.name)) {
            return QMetaObject::invokeMethod(root, "showPage", Q_ARG(QVariant, int(page.page)),
                                             Q_ARG(QVariant, page.tab));
        }
    }
    return false;
}

} // namespace FrontEndPages
