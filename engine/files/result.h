// A value, or why there is none. Errors carry words a person can act on.
#pragma once

#include <string>
#include <utility>
#include <variant>

namespace talo::files
{

struct Error {
    int code = 0; // an errno value; 0 where none fits
    std::string text;
};

// The error of a failed system call in plain words, such as "permission denied".
Error systemError(int code);

template <class T> class [[nodiscard]] Result
{
public:
    Result(T value) : held_(std::move(value)) {}
    Result(Error error) : held_(std::move(error)) {}

    explicit operator bool() const { return std::holds_alternative<T>(held_); }
    T &operator*() { return std::get<T>(held_); }
    const T &operator*() const { return std::get<T>(held_); }
    T *operator->() { return &std::get<T>(held_); }
    const T *operator->() const { return &std::get<T>(held_); }
    const Error &error() const { return std::get<Error>(held_); }

private:
    std::variant<T, Error> held_;
};

} // namespace talo::files
