#pragma once

#include "dashboard_page.h"

#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>

class DashboardHost;
class QTimer;

// Drives the front end through its main pages by itself and writes a screenshot of each to a
// folder: home, My Labels, favourites, resources, settings, about, a running module, and
// home, settings and about in the dark theme. Used by scripts/run on a machine without a display, and by tests.
class ScreenshotTour : public QObject
{
    Q_OBJECT

public:
    ScreenshotTour(DashboardHost *host, const QString &folder, QObject *parent = nullptr);

    // Starts the tour; finished() tells when it is over.
    void start();
    QStringList written() const { return m_written; }
    QStringList failures() const { return m_failures; }

    // The module the tour starts (APP_LABELDESIGNER).
    static constexpr int TOUR_MODULE = 0;

Q_SIGNALS:
    void finished(bool ok);

private:
    struct Step
    {
        QString name;
        std::function<void()> action;
        // Whether the step is done and its screenshot can be taken; none means after a pause.
        std::function<bool()> ready;
        // Capture the whole X screen (embedded module windows are not part of a Qt grab).
        bool screen = false;
    };

    void runStep();
    void parkPointer();
    void capture(const Step &step);
    void showPage(DashboardPage::Page page, int tab = 0);
    void invoke(const char *function);
    QObject *frontEndObject(const char *property) const;

    DashboardHost *m_host;
    QString m_folder;
    QList<Step> m_steps;
    int m_current = -1;
    int m_waited = 0;
    QStringList m_written;
    QStringList m_failures;
};
