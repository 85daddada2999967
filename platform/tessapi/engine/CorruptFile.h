#pragma once

#include <boost/system/error_code.hpp>

#include <string>

namespace tessapi {

/// A store's file whose content contradicts itself, and that the configuration allows to be replaced.
namespace CorruptFile {

/// Whether a failure to open the store may come from such a file.
bool isBehind(const boost::system::error_code& failure);

/// Moves the file `path` with its log to a name that tells the date, for instance
/// "tess.db.corrupt-2026-11-21T19-55-00Z", over nothing that is there; gives that name. Nobody has it open.
std::string move(const std::string& path, const std::string& store);

/// The same for the file of a store, and says so in one line on the standard error. Nothing moves when the
/// file is sound by now, because another program was faster. False, and nothing moves, while another program
/// has the store open.
bool setAside(const std::string& path, const std::string& store);

} // namespace CorruptFile

} // namespace tessapi
