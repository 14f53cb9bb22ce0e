#pragma once
// The exceptions that the bridge API throws. The API's V8 callbacks catch
// QuillJsRuntimeException and turn it into a script Error.

#include <exception>
#include <string>
#include <utility>

namespace Bridge {

/// Base of the API's exceptions: a message.
class QuillException : public std::exception {
  public:
    /// A null pointer gives an empty message.
    explicit QuillException(const char *message) : message_(message == nullptr ? "" : message) {}
    const char *what() const noexcept override { return message_.c_str(); }

  private:
    std::string message_;
};

/// An error in script code, with where it happened as far as that is known.
class QuillJsException : public QuillException {
  public:
    using QuillException::QuillException;
    QuillJsException(const char *message, std::string file, std::string source_line, std::string stack,
                     int line, int column)
        : QuillException(message), file_(std::move(file)), source_line_(std::move(source_line)),
          stack_(std::move(stack)), line_(line), column_(column) {}

    const std::string &file() const noexcept { return file_; }
    const std::string &sourceLine() const noexcept { return source_line_; }
    const std::string &stack() const noexcept { return stack_; }
    int line() const noexcept { return line_; }     ///< from 1; 0 when unknown
    int column() const noexcept { return column_; } ///< from 0

  private:
    std::string file_;
    std::string source_line_;
    std::string stack_;
    int line_ = 0;
    int column_ = 0;
};

/// A misuse of a native method by a script.
class QuillJsRuntimeException : public QuillJsException {
  public:
    using QuillJsException::QuillJsException;
};

} // namespace Bridge
