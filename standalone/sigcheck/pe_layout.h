#ifndef ORVU_SIGCHECK_PE_LAYOUT_H
#define ORVU_SIGCHECK_PE_LAYOUT_H

// Where in a PE file the signature stands and which bytes its digest leaves out. PE32 and PE32+.
// Every offset, size and count of the file is checked against the file's size before it is used.
// Free of state, any thread.

#include <cstdint>

#include "standalone/sigcheck/file.h"

namespace orvu::sigcheck {

struct pe_layout {
    uint64_t checksum = 0;        // offset of the 4-byte checksum
    uint64_t security_entry = 0;  // offset of the 8-byte directory entry
    uint64_t table = 0;           // file offset of the certificate table
    uint64_t table_end = 0;
    uint64_t signature = 0;       // offset of the first signature's encoding
    uint64_t signature_size = 0;  // with what pads it
};

// Reads the layout of a file of `size` bytes. Gives a sigcheck_state: SIGCHECK_OK,
// SIGCHECK_NOT_PE, also for a file beyond 4 GiB, SIGCHECK_NOT_OPENED when the file can't be read,
// or SIGCHECK_NOT_SIGNED when there is no certificate table, when the table reaches out of the file
// or into the headers or a section, or when none of its first 256 entries is a PKCS#7 signature.
int32_t read_pe_layout(const ReadableFile& file, uint64_t size, pe_layout& out);

}  // namespace orvu::sigcheck

#endif  // ORVU_SIGCHECK_PE_LAYOUT_H
