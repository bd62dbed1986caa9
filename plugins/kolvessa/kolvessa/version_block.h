#ifndef KOLVESSA_KOLVESSA_VERSION_BLOCK_H
#define KOLVESSA_KOLVESSA_VERSION_BLOCK_H

// Makes a version block safe to be queried. The lengths in a block are the file's word, and the
// system's query follows them without asking where the block ends. Free of state, any thread.

#include <cstddef>
#include <cstdint>
#include <span>

namespace kolvessa {

// Cuts every length that leaves the block or the node around it: what can't be a node is blanked up
// to the end of the node around it, and nothing else is changed. Returns where the text of the
// block ends, its own header's length: no value goes on behind that. 0 for a block too short to
// hold a header.
size_t bound_version_block(std::span<uint8_t> block);

}  // namespace kolvessa

#endif  // KOLVESSA_KOLVESSA_VERSION_BLOCK_H
