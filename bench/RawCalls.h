#pragma once

#include <cstddef>
#include <string>

// The system calls that an operation of the library cannot do without, and nothing but these: no check beyond their
// results, arguments worked out beforehand. What the library takes is held against them.
namespace bench {

// Where one record lies.
struct Place {
    long long slot = 0;    // of its slot, in the index file
    long long offset = 0;  // of its bytes, in the data file
    std::size_t length = 0;
};

// open, read the head, read a slot, close.
void RawFindSlot(std::string const& index_path, long long slot);
// open, read the record into `bytes`, close.
void RawReadRecord(std::string const& data_path, Place const& place, char* bytes);
// Both of the above: the seven calls of a look-up.
void RawFind(std::string const& index_path, std::string const& data_path, Place const& place, char* bytes);
// The thirteen calls of storing a record: the four of RawFindSlot; open, seek to the end, write, close; open, read the
// head, read the slot, write the slot, close.
void RawAdd(std::string const& index_path, std::string const& data_path, long long slot, char const* bytes,
            std::size_t length);

// The fourteen calls of storing a record under the next number: open, read the head, read behind the end, ask for the
// size, close; open, seek to the end, write, close; open, read the head, ask for the size, write the slot, close.
void RawAddNumbered(std::string const& index_path, std::string const& data_path, int number, char const* bytes,
                    std::size_t length);

// open, read `length` bytes from `offset` in blocks of 64 KiB, close.
void RawReadBlocks(std::string const& path, long long offset, long long length);
// create, write `length` zero bytes in pieces of 64 KiB from one small buffer, close.
void RawWriteZeros(std::string const& path, long long length);

}  // namespace bench
