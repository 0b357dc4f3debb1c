#include "screenshot_tour.h"

#include "dashboard_host.h"

#include <dashboard_main_window.h>

#include <QCursor>
#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QProcess>
#include <QQuickItem>
#include <QScreen>
#include <QTimer>

namespace {

// Pause between an action and its screenshot, for transitions and image loading.
constexpr int SETTLE_MS = 600;
// How often a step's readiness is checked, and how many checks before it is taken anyway.
constexpr int POLL_MS = 200;
constexpr int START_DELAY_MS = 1500;

} // namespace

ScreenshotTour::ScreenshotTour(DashboardHost *host, const QString &folder, QObject *parent)
    : QObject(parent), m_host(host), m_folder(folder)
{
    const auto page = [this](DashboardPage::Page page, int tab = 0) {
        return [this, page, tab] { showPage(page, tab); };
    };
    const auto about = [this] { invoke("openAbout"); };
    m_steps = {
        { QStringLiteral("home"), page(DashboardPage::Home), {}, false },
        { QStringLiteral("mylabels"), page(DashboardPage::Home, 1), {}, false },
        { QStringLiteral("favorites"), page(DashboardPage::Home, 2), {}, false },
        { QStringLiteral("cloud"), page(DashboardPage::Cloud), {}, false },
        { QStringLiteral("resources"), page(DashboardPage::Resources), {}, false },
        { QStringLiteral("settings"), page(DashboardPage::Settings), {}, false },
        { QStringLiteral("about"), about, {}, false },
        { QStringLiteral("module"),
          [this] {
              if (QObject *about = frontEndObject("aboutDialog"))
                  QMetaObject::invokeMethod(about, "close");
              showPage(DashboardPage::Home);
              if (QObject *modules = frontEndObject("moduleHost")) {
                  QMetaObject::invokeMethod(modules, "activate", Q_ARG(QVariant, TOUR_MODULE),
                                            Q_ARG(QVariant, QStringLiteral("Label Designer")));
              }
          },
          [this] {
              // Ready once the module is embedded, or its start has failed with a message.
              QObject *modules = frontEndObject("moduleHost");
              if (!modules)
                  return true;
              const QVariantMap loading = modules->property("loading").toMap();
              return !loading.contains(QString::number(TOUR_MODULE));
          },
          true },
        { QStringLiteral("home-dark"),
          [this] {
              if (QObject *modules = frontEndObject("moduleHost")) {
                  QMetaObject::invokeMethod(modules, "close", Q_ARG(QVariant, TOUR_MODULE));
                  QMetaObject::invokeMethod(modules, "showPages");
                  modules->setProperty("message", QString());
              }
              if (QObject *settings = frontEndObject("settings")) {
                  QMetaObject::invokeMethod(settings, "setSetting",
                                            Q_ARG(QString, settings->property("KEY_APPEARANCE").toString()),
                                            Q_ARG(QVariant, false));
              }
              showPage(DashboardPage::Home);
          },
          {}, false },
        { QStringLiteral("settings-dark"), page(DashboardPage::Settings), {}, false },
        { QStringLiteral("about-dark"), about, {}, false },
    };
}

QObject *ScreenshotTour::frontEndObject(const char *property) const
{
    QQuickItem *root = m_host->rootItem();
    return root ? root->property(property).value<QObject *>() : nullptr;
}

void ScreenshotTour::showPage(DashboardPage::Page page, int tab)
{
    if (QQuickItem *root = m_host->rootItem())
        QMetaObject::invokeMethod(root, "showPage", Q_ARG(QVariant, int(page)), Q_ARG(QVariant, tab));
}

void ScreenshotTour::invoke(const char *function)
{
    if (QQuickItem *root = m_host->rootItem())
        QMetaObject::invokeMethod(root, function);
}

// A pointer resting over the window, where the X server puts it at start (the middle of the
// screen), would show a hover shade in every picture: it goes to a corner of the screen the
// window does not cover.
void ScreenshotTour::parkPointer()
{
    QWindow *window = m_host->window();
    QScreen *screen = window ? window->screen() : nullptr;
    if (!screen)
        return;
    const QRect frame = window->frameGeometry();
    const QRect area = screen->geometry();
    for (const QPoint &corner : { area.bottomRight(), area.topRight(), area.bottomLeft(), area.topLeft() }) {
        if (!frame.contains(corner)) {
            QCursor::setPos(screen, corner);
            return;
        }
    }
}

void ScreenshotTour::start()
{
    QDir().mkpath(m_folder);
    parkPointer();
    m_current = -1;
    // The lists fill after the first frame; give them and the first paint time.
    QTimer::singleShot(START_DELAY_MS, this, &ScreenshotTour::runStep);
}

void ScreenshotTour::runStep()
{
    ++m_current;
    if (m_current >= m_steps.size()) {
        // Whatever the tour changed in the appearance goes back to the light default.
        if (QObject *settings = frontEndObject("settings")) {
            QMetaObject::invokeMethod(settings, "setSetting",
                                      Q_ARG(QString, settings->property("KEY_APPEARANCE").toString()),
                                      Q_ARG(QVariant, true));
        }
        Q_EMIT finished(m_failures.isEmpty());
        return;
    }
    const Step &step = m_steps.at(m_current);
    parkPointer();
    step.action();
    m_waited = 0;
    auto *poll = new QTimer(this);
    poll->setInterval(step.ready ? POLL_MS : SETTLE_MS);
    connect(poll, &QTimer::timeout, this, [this, poll] {
        const Step &step = m_steps.at(m_current);
        // A module has the front end's own start timeout; wait a little beyond it.
        const int limit = 30000 / POLL_MS;
        if (step.ready && !step.ready() && ++m_waited < limit)
            return;
        if (step.ready && m_waited >= 0 && poll->interval() == POLL_MS) {
            // Let the embedded window paint before the capture.
            poll->setInterval(SETTLE_MS * 2);
            m_waited = -1;
            return;
        }
        poll->deleteLater();
        capture(step);
        runStep();
    });
    poll->start();
}

void ScreenshotTour::capture(const Step &step)
{
    const QString file = m_folder + QLatin1Char('/') + step.name + QStringLiteral(".png");
    bool ok = false;
    // On X the server's picture is what the user sees.
    if (QGuiApplication::platformName() == QLatin1String("xcb")
        && !qEnvironmentVariableIsEmpty("DISPLAY")) {
        // The X server's own picture of the window, embedded module windows included.
        const QString windowId = QString::number(m_host->window()->winId());
        ok = QProcess::execute(QStringLiteral("import"),
                               { QStringLiteral("-window"), windowId, file }) == 0;
        if (!ok) {
            ok = QProcess::execute(QStringLiteral("import"),
                                   { QStringLiteral("-window"), QStringLiteral("root"), file }) == 0;
        }
    }
    if (!ok)
        ok = m_host->window()->grabWindow().save(file);
    if (ok)
        m_written.append(file);
    else
        m_failures.append(file);
}
