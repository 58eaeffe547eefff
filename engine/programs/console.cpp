#include "programs/console.h"

#include "programs/columns.h"

#include <sys/ioctl.h>
#include <unistd.h>

namespace talo::programs
{

namespace
{

constexpr int kUsualWidth = 80;

void write(std::FILE *file, const QByteArray &bytes)
{
    std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), file);
    std::fflush(file);
}

} // namespace

Console::Console(std::FILE *out, std::FILE *err)
    : out_(out), err_(err), isTerminal_(isatty(fileno(out)) == 1)
{
}

int Console::width() const
{
    winsize size{};
    if (ioctl(fileno(out_), TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return size.ws_col;
    return kUsualWidth;
}

void Console::line(const QString &text)
{
    clearProgress();
    write(out_, text.toUtf8() + '\n');
}

void Console::problem(const QString &text)
{
    clearProgress();
    write(err_, text.toUtf8() + '\n');
}

void Console::progress(const QString &text)
{
    if (!isTerminal_)
        return;
    const int columns = columnsOf(text);
    // Spaces instead of an erase sequence: they do on every terminal.
    const QByteArray rest(qMax(0, shownColumns_ - columns), ' ');
    write(out_, '\r' + text.toUtf8() + rest);
    shownColumns_ = columns;
}

void Console::clearProgress()
{
    if (shownColumns_ == 0)
        return;
    // A terminal that was made narrower has wrapped the line already; only what fits is cleared.
    write(out_, '\r' + QByteArray(qMin(shownColumns_, width() - 1), ' ') + '\r');
    shownColumns_ = 0;
}

bool Console::flush()
{
    return std::fflush(out_) == 0 && std::ferror(out_) == 0;
}

} // namespace talo::programs
