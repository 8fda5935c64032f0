#pragma once
// Files that hold one moment of the model: the chip, one frame, one result. All words stand in the byte order of the
// host. A file that cannot be opened or read ends the process with exit status 1 and a message on standard error.

#include "base/cmRte.h"

#include <cstdint>

/// Writes the chip to the state file `fileName`: the size of the record, then the record with `logFd` 0 and the two
/// engine pointers as zero words of 32 bits. A file that exists is deleted first, and said to be. The engines' own
/// memories are not in the file.
void CmRteDump(CmRte *cmRtePtr, const char *fileName);

/// Reads the state file `fileName` over the chip. The engines of `cmRtePtr` stay; its `logFd` is 0 as in the file, so
/// the caller sets it before the model runs.
void CmRteLoad(CmRte *cmRtePtr, const char *fileName);

/// Write and read a result file: the size of the record, then the record.
void CmRteRsltDump(const CmRteRslt *cmRteRsltPtr, const char *fileName);
void CmRteRsltLoad(CmRteRslt *cmRteRsltPtr, const char *fileName);

/// Writes a frame file: port, three MAC words, frame length, bytes.
void CmRteFrmDump(uint32_t port, const CmRteMacInf *macInfPtr, uint32_t frmLen, const uint8_t *frm,
                  const char *fileName);

/// Reads a frame file without MAC words: port, frame length (10240 at most), bytes. A file of CmRteFrmDump reads with
/// its first MAC word as the length.
void CmRteFrmLoad(const char *fileName, uint32_t *portPtr, uint32_t *frmLenPtr, uint8_t *frm);
