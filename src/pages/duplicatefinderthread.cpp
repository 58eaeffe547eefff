#include "pages/duplicatefinderthread.h"

#include "engine/libduplicatefinder.h"

namespace
{

constexpr int kFound = 810;
constexpr int kMode = 1;

} // namespace

DuplicateFinderThread::DuplicateFinderThread(QString folder) : folder_(std::move(folder))
{
    qRegisterMetaType<std::map<std::string, std::list<std::string>>>(
        "std::map<string, list<string> >");
}

void DuplicateFinderThread::run()
{
    result_.clear();
    long long fileCount = 0;
    long long totalBytes = 0;
    if (libDuplicateFinder::DuplicateFinder(folder_.toStdString(), result_, kMode, &fileCount,
                                            &totalBytes) != kFound) {
        emit DuplicateFinderNoDataFound();
        return;
    }
    emit SendDuplicateFinderData(fileCount, totalBytes);
    emit DuplicateFinderDataFound(result_);
}
