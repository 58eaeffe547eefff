// The product as it is installed: below a /usr/local of the test's own, used by an ordinary user
// who has a display, a message bus and the service.
#pragma once

#include <QObject>
#include <QProcess>
#include <QStringList>

#include <functional>
#include <memory>

namespace talo::test
{

inline constexpr unsigned kUser = 61234; // nobody else's
inline constexpr char kPrefix[] = "/usr/local/taloantivirus";

// The standard test file of the anti-malware industry, put together at run time so that no scanner
// takes this program for it.
QByteArray eicar();

// Runs a program to its end, for five minutes at most, and returns all that it prints.
QByteArray run(const QString &program, const QStringList &arguments, int *code = nullptr);

// Writes a file and the folders above it. Throws a Failure.
void write(const QString &path, const QByteArray &content);

// A process that lives as long as this object, and never longer than this process.
class Running
{
public:
    Running(const QString &program, const QStringList &arguments);
    ~Running();
    QByteArray readLine();

private:
    QProcess process_;
};

// A message bus, and the service on it. Every client of this process finds them.
class Engine
{
public:
    // `home` becomes the user's home folder, and holds the bus's socket.
    explicit Engine(const QString &home);

    // Ends the service, if there is one, and starts it on a state folder. Waits until it answers.
    void start(const QString &state, const QStringList &options = {});

private:
    QString address_;
    std::unique_ptr<Running> bus_;
    std::unique_ptr<Running> talod_;
};

// What main() of such a test does: installs the product, becomes the user, starts a display and
// runs the test. Returns the process's exit code, which is 77 where a skip was printed.
int testInstalled(int argc, char **argv, const char *buildFolder,
                  const std::function<std::unique_ptr<QObject>()> &makeTest);

} // namespace talo::test
