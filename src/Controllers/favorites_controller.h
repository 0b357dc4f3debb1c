#pragma once

#include "Controllers/dashboard_common_file_controller.h"
#include "korvexdashboard_export.h"

// The user's local and cloud favourites. Dates come from the file system only.
class KORVEXDASHBOARD_EXPORT FavoritesController : public DashboardCommonFileController
{
    Q_OBJECT

public:
    explicit FavoritesController(QObject *parent = nullptr);
    ~FavoritesController() override;

    // The local folder that mirrors a cloud service's files, or an empty string.
    static QString cloudFolder(int location);

public Q_SLOTS:
    void updateFileLists() override;
};
