#pragma once

#include "Controllers/dashboard_common_file_controller.h"
#include "korvexdashboard_export.h"

// Every label file that a module recorded as viewed and that still exists.
class KORVEXDASHBOARD_EXPORT RecentlyViewedController : public DashboardCommonFileController
{
    Q_OBJECT

public:
    explicit RecentlyViewedController(QObject *parent = nullptr);
    ~RecentlyViewedController() override;

public Q_SLOTS:
    void updateFileLists() override;
};
