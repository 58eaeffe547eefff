// Standard output and error of a program in the terminal.
#pragma once

#include <QByteArray>
#include <QString>

#include <cstdio>

namespace talo::programs
{

// Where a terminal is on the other end one line may be rewritten in place; ordinary lines go above
// it. Texts are written as UTF-8.
class Console
{
public:
    explicit Console(std::FILE *out = stdout, std::FILE *err = stderr);

    bool isTerminal() const { return isTerminal_; }
    // Columns that a line may use; the size may change at any time.
    int width() const;

    void line(const QString &text);
    void problem(const QString &text);
    // Rewrites the line in place. Nothing where there is no terminal.
    void progress(const QString &text);
    void clearProgress();

    // Whether everything written so far has arrived.
    bool flush();

private:
    std::FILE *out_;
    std::FILE *err_;
    bool isTerminal_;
    int shownColumns_ = 0;
};

} // namespace talo::programs
