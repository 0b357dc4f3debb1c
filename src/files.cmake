# Label file browsing: the file record, the history and favourites stores, and the My Labels,
# Recently viewed and Favorites lists.
if(WIN32)
    set(_files_platform Controllers/favorite_keys_win.cpp Controllers/label_tree_walker_win.cpp
                        Controllers/file_status_win.cpp)
else()
    set(_files_platform Controllers/favorite_keys_unix.cpp Controllers/label_tree_walker_unix.cpp
                        Controllers/file_status_unix.cpp)
endif()

korvex_dashboard_add_sources(
    PUBLIC_HEADERS
        Controllers/dashboard_file_info_struct.h
        Controllers/dashboard_common_file_controller.h
        Controllers/my_labels_controller.h
        Controllers/recently_viewed_controller.h
        Controllers/favorites_controller.h
    PRIVATE_HEADERS
        Controllers/favorite_keys.h
        Controllers/file_status.h
        Controllers/label_tree_walker.h
        Controllers/local_times.h
    SOURCES
        Controllers/dashboard_file_info_struct.cpp
        Controllers/dashboard_common_file_controller.cpp
        Controllers/my_labels_controller.cpp
        Controllers/recently_viewed_controller.cpp
        Controllers/favorites_controller.cpp
        Controllers/file_status.cpp
        Controllers/label_tree_walker.cpp
        Controllers/local_times.cpp
        ${_files_platform})
