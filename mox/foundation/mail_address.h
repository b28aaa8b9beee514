#pragma once

#include <string>
#include <string_view>

namespace mox {

/// What is wrong with an address of a mail; empty where nothing is. It is one address without a name, of
/// ASCII letters, so that nothing in it can begin another header or name another receiver.
std::string AddressFault(std::string_view address);

/// What is wrong with the address of a mail server; empty where nothing is. It is smtps://HOST, or
/// smtp://HOST, each with a user or a port where it has one, in which other characters than letters, digits
/// and
/// -._~!$&'()*+,;=: are written as %40. It may hold a secret, so the fault does not
/// repeat it.
std::string MailServerFault(std::string_view url);

}  // namespace mox
