#pragma once

#include <boost/beast/core/error.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/buffer_body.hpp>
#include <boost/beast/http/parser.hpp>
#include <cstddef>
#include <cstdint>
#include <string>

#include "moxd/http_types.h"

namespace mox {

/// Reads one request of a connection: its header, and its body piece by piece.
class RequestParser : public boost::beast::http::request_parser<boost::beast::http::buffer_body> {
 public:
  RequestParser(std::size_t most_header_bytes, std::uint64_t most_body_bytes);

  /// What the header says, or as much of it as could be read.
  RequestHead Head(const std::string& remote_address) const;
  /// Whether the next request stands behind this one, of which the header alone was read: it has no body, and
  /// says nothing by which somebody between client and server could see one.
  bool EndsWithItsHeader() const;
  /// Room for the next piece of the body, which goes behind what there is of it. Memory is taken as the bytes
  /// come, not as they are announced.
  void MakeRoom(std::string& body);
  /// Fills it with what was read of the body already. False where that is nothing more.
  bool TakeHere(boost::beast::flat_buffer& buffer);
  /// Cuts off what of the room was not filled.
  void KeepFilled(std::string& body);
};

/// The code of the error for whom no request could be read of; null where nobody would read it, since the
/// client is gone or too slow.
const char* RefusalOf(const boost::beast::error_code& error);

}  // namespace mox
