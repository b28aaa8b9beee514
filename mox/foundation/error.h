#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace mox {

/// Base of every failure that the library reports by an exception. what() is UTF-8.
class Error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A field that a rule requires is not in the record set. field() is the name that was asked for.
class FieldNotFound : public Error {
 public:
  FieldNotFound(std::string_view field, std::string_view record_set);
  const std::string& field() const { return field_; }

 private:
  std::string field_;
};

/// A value that cannot become what was asked for: a text that is no number, a date that does not exist.
class ConversionError : public Error {
 public:
  using Error::Error;
};

/// A quotient with a zero divisor, also when the dividend is zero.
class DivisionByZero : public Error {
 public:
  DivisionByZero() : Error("division by zero") {}
};

/// A result outside the range of its type: of a currency, an integer or a finite floating-point number.
class Overflow : public Error {
 public:
  using Error::Error;
};

/// An operation that the state of the record set does not allow, such as writing a field while browsing.
class StateError : public Error {
 public:
  using Error::Error;
};

/// A text that should hold a record set but is damaged. offset() counts bytes from its beginning.
class FormatError : public Error {
 public:
  FormatError(const std::string& reason, std::size_t offset);
  FormatError(const std::string& prefix, const FormatError& error)
      : Error(prefix + error.what()), offset_(error.offset_) {}
  std::size_t offset() const { return offset_; }

 private:
  std::size_t offset_;
};

/// The silent abort: ends an operation after the user was told why. Not an Error, and without a text of
/// its own, so that nobody shows it twice.
class Abort : public std::exception {
 public:
  const char* what() const noexcept override { return ""; }
};

}  // namespace mox
