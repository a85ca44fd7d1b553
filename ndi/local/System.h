#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <boost/interprocess/file_mapping.hpp>
#include <boost/interprocess/mapped_region.hpp>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

// What differs between operating systems, and nothing else. One source file per system. Threads: any.
namespace localndi::system
{

// The folder of this user's senders, created for its owner alone when missing. Empty when there is none that only this
// user can have written to.
std::filesystem::path privateFolder();

// Creates a file that must not exist yet, for its owner alone, with storage for `size` bytes reserved, so that writing
// to a mapping of it cannot fail later.
bool createPrivateFile(const std::filesystem::path &path, std::uint64_t size);

// Creates a file that must not exist yet, for its owner alone. A program that this process starts meanwhile does not
// inherit it, nor one that is being read: a file that somebody has open cannot be replaced everywhere.
bool createPrivateFile(const std::filesystem::path &path, std::string_view content);
// At most `limit` bytes of a file, from its beginning. Empty when it cannot be read.
std::string readFile(const std::filesystem::path &path, std::size_t limit);

// Drops what this process wrote to a copy-on-write mapping of the whole file: it reads as the file again, at another
// address perhaps. False when it cannot be; the mapping is as it was then.
bool discardPrivateWrites(boost::interprocess::mapped_region &region, const boost::interprocess::file_mapping &file);

// Lets a listener take its port over from one that has just gone, but not from one that still listens.
void allowPortReuse(boost::asio::ip::tcp::acceptor &acceptor);

// A process that this one starts does not inherit the socket: it would keep a connection, or a port, that has ended
// here.
void keepFromChildren(boost::asio::ip::tcp::socket &socket);
void keepFromChildren(boost::asio::ip::tcp::acceptor &acceptor);
// Nor this: it would keep the memory.
void keepFromChildren(const boost::interprocess::file_mapping &file);

// Empty when it is not set, or too long for a setting.
std::string environmentVariable(const char *name);

std::uint32_t processId();
// False only when there is no such process.
bool isRunning(std::uint32_t processId);

} // namespace localndi::system
