// The search for files with equal content, off the window's thread.
#pragma once

#include <QString>
#include <QThread>

#include <list>
#include <map>
#include <string>

class DuplicateFinderThread : public QThread
{
    Q_OBJECT

public:
    // Queued signals find a type by the name it is spelt with: these make the name that the map
    // of results is known by.
    using string = std::string;
    template <class T> using list = std::list<T>;

    explicit DuplicateFinderThread(QString folder);

signals:
    void SendDuplicateFinderData(long long fileCount, long long totalBytes);
    void DuplicateFinderNoDataFound();
    void DuplicateFinderDataFound(std::map<string, list<string>> result);

protected:
    void run() override;

private:
    QString folder_;
    std::map<std::string, std::list<std::string>> result_;
};
