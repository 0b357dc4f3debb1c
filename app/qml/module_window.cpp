#include "module_window.h"

void ModuleWindow::embeddingFailedEvent()
{
    DashboardAppWindow::embeddingFailedEvent();
    Q_EMIT embeddingFailed();
}
