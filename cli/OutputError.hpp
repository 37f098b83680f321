// The failures of an output.
#pragma once

#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>

namespace vorlandi::cli {

// The reader of the output has closed it, as `head` does. That is not an error, but there is nothing left to do.
class OutputClosed {};

// name() is the output, what() the reason.
class OutputError : public std::runtime_error {
public:
    OutputError(std::string_view name, int error) : OutputError(name, std::strerror(error)) {}
    OutputError(std::string_view name, const std::string& reason) : std::runtime_error(reason), name_(name) {}

    const std::string& name() const { return name_; }

private:
    std::string name_;
};

}  // namespace vorlandi::cli
