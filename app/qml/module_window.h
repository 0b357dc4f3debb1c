#pragma once

#include <korvexdashboard.h>

#include <QtQml/qqmlregistration.h>

// The item a module's window is embedded in, as the front end uses it: it also tells the front
// end when the window could not be taken in, so that the user learns why the module shows beside
// the dashboard rather than in it.
class ModuleWindow : public DashboardAppWindow
{
    Q_OBJECT
    QML_ELEMENT

public:
    using DashboardAppWindow::DashboardAppWindow;

Q_SIGNALS:
    void embeddingFailed();

protected:
    void embeddingFailedEvent() override;
};
