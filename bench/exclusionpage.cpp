// Opens the settings' list of exclusions with the real service behind it, with ever more entries,
// and prints the median time from the click on its tab until the list is painted.
//   bench_exclusionpage ROUNDS          with TALO_BUS naming a bus that talod is on
#include "engine/libexcludesetting.h"
#include "engine/libimportexportsetting.h"
#include "pages/settings.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>
#include <QToolButton>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace
{

const char kBegin[] = "[Exclusions]\n";
const char kEnd[] = "\n[Schedules]";

// Has the service keep this many exclusions and no others: nine locations to one extension.
bool store(int count)
{
    const QTemporaryDir folder;
    const QByteArray path = folder.path().toLocal8Bit();
    QFile file(folder.filePath("Settings.ini"));
    if (libImportExportSetting::ExportSettings(path.constData()) != 0 ||
        !file.open(QIODevice::ReadWrite))
        return false;
    QByteArray text = file.readAll();
    QByteArray entries;
    for (int number = 1; number <= count; ++number)
        entries += number % 10 == 0
                       ? QString("Extension%1=x%1\n").arg(number).toUtf8()
                       : QString("Location%1=/home/somebody/project/part%1\n").arg(number).toUtf8();
    const int begin = text.indexOf(kBegin) + static_cast<int>(qstrlen(kBegin));
    text.replace(begin, text.indexOf(kEnd, begin) - begin, entries);
    return file.resize(0) && file.seek(0) && file.write(text) == text.size() && file.flush() &&
           libImportExportSetting::ImportSettings(path.constData()) == 0;
}

int stored()
{
    std::string locations;
    std::string extensions;
    int locationCount = -1;
    int extensionCount = -1;
    const int code = libExcludeSetting::GetExcludeScanList(locations, extensions, &locationCount,
                                                           &extensionCount);
    return code == 0 ? locationCount + extensionCount : -1;
}

bool serviceAnswers()
{
    for (int tries = 0; tries < 100; ++tries) {
        if (stored() >= 0)
            return true;
        QThread::msleep(100);
    }
    return false;
}

double milliseconds(Settings &page, const char *tab)
{
    auto *button = page.findChild<QToolButton *>(tab);
    QElapsedTimer timer;
    timer.start();
    button->click();
    page.grab(); // paints it, whatever the display
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    const int rounds = argc == 2 ? static_cast<int>(std::strtol(argv[1], nullptr, 10)) : 0;
    if (rounds < 1) {
        std::fputs("usage: bench_exclusionpage ROUNDS\n", stderr);
        return 2;
    }
    if (!serviceAnswers()) {
        std::fputs("the service does not answer\n", stderr);
        return 1;
    }
    Settings page;
    page.show();
    std::puts("exclusions   opening the page   opening another");
    for (const int count : {0, 100, 1000, 10000, 20000}) {
        if (!store(count) || stored() != count) {
            std::fprintf(stderr, "cannot store %d exclusions\n", count);
            return 1;
        }
        std::vector<double> list;
        std::vector<double> other;
        for (int round = 0; round < rounds; ++round) {
            list.push_back(milliseconds(page, "btnExcludeScanList"));
            other.push_back(milliseconds(page, "btnGeneral"));
        }
        std::sort(list.begin(), list.end());
        std::sort(other.begin(), other.end());
        std::printf("%10d   %13.1f ms   %12.1f ms\n", count, list[list.size() / 2],
                    other[other.size() / 2]);
    }
    return 0;
}
