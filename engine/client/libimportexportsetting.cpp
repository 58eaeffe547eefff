// Settings cannot be changed yet, so there are none worth a file and none that a file may bring.
#include "engine/libimportexportsetting.h"

int libImportExportSetting::ExportSettings([[maybe_unused]] char const *folder)
{
    constexpr int kCannotWrite = 1;
    return kCannotWrite;
}

int libImportExportSetting::ImportSettings([[maybe_unused]] char const *folder)
{
    constexpr int kRefused = 3;
    return kRefused;
}
