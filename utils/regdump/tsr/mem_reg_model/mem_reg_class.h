#pragma once
// Named registers, memories and TCAMs: objects that are found by name, and fields of a word that are read and written
// by name. A device under test could stand behind each object; in this system none does.

#include "cmTcamIdx.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

/// One field's value: `u32` for fields of up to 32 bits, `u64` for wider ones.
struct tFldVal {
    uint32_t u32 = 0;
    uint64_t u64 = 0;
};

/// A register or memory word in unpacked form (a "line"): one value a field, at the field's `pos`.
using M_T = std::vector<tFldVal>;

/// A packed word of at most 512 bits; word 0 holds the lowest bits.
constexpr uint32_t M_T_U_WORDS = 16;
using M_T_u = uint32_t[M_T_U_WORDS];

struct MemRegField {
    virtual ~MemRegField() = default;
    /// `bitWidth` low bits set, in `u64` for a field above 32 bits and in `u32` otherwise; the other member is 0.
    tFldVal getMask() const;
    /// Cuts both members of `val` to the mask.
    void maskFld(tFldVal &val) const;

    std::string fieldName;
    unsigned bitWidth = 0;
    unsigned bitPos = 0; // lowest bit of the field in the packed word
    unsigned pos = 0;    // index of the field in a line
    tFldVal resetValue;
};

/// Order of names by their text.
struct strCmp {
    bool operator()(const char *a, const char *b) const { return std::strcmp(a, b) < 0; }
};

/// What all definitions share. A field name that is not known ends the process by a failed assertion.
class RegMemDefinition {
public:
    /// Makes the definition empty.
    virtual void init();
    virtual ~RegMemDefinition() = default;
    /// Cuts each field of `ln_` to its width.
    virtual void MaskFieldsToWidth(M_T &ln_) const;

    /// Adds a field; `fld_name_` must outlive the definition. `bitPos` counts from the lowest bit of the packed word.
    void addField(const char *fld_name_, unsigned bitWidth, unsigned bitPos, unsigned pos, uint32_t resetValue = 0);

    /// The field's value in `ln_`, cut to its width. getField reads a field above 32 bits as 0.
    uint32_t getField(const char *fld_name_, const M_T &ln_) const;
    tFldVal getField2(const char *fld_name_, const M_T &ln_) const;

    /// Store a value at the field's place in `ln_`. Return true.
    bool setField(const char *fld_name_, M_T &ln_, uint32_t value) const;
    bool setField2(const char *fld_name_, M_T &ln_, tFldVal value) const;

    uint32_t numFields() const { return static_cast<uint32_t>(fieldDefinitions.size()); }
    uint32_t bitWidth(const char *fld_name_) const;
    /// Sum of all fields' widths: less than the highest bit where the fields leave gaps.
    uint32_t totalBitWidth() const;
    /// Words of a buffer that holds every field.
    uint32_t keyWords() const;

    /// Packs `ln_` into `key`, lowest bits in word 0. Clears (totalBitWidth() + 31) / 32 words first; `key` must have
    /// room for keyWords() words.
    void packBinaryKey(const M_T &ln_, uint32_t *key) const;
    /// The inverse: makes `ln_` a line of numFields() values from the keyWords() words of `key`.
    void unpackBinaryKey(const uint32_t *key, M_T &ln_) const;

    std::string name;
    uint32_t memBase = 0; // chip address of the object
    std::map<const char *, MemRegField, strCmp> fieldDefinitions;
    std::string rtlPath;
    tFldVal field_zero;

private:
    const MemRegField *findField(const char *fld_name_) const;
    const MemRegField &fieldToRead(const char *fld_name_, const M_T &ln_) const;
};

class MemoryDefinition : public RegMemDefinition {
public:
    void init() override;
    ~MemoryDefinition() override = default;

    uint32_t memSize = 0; // entries
};

class RegisterDefinition : public RegMemDefinition {};

using tDutWrPoke = int (*)(uint32_t addr, uint32_t data, bool isPoke);
using tDutRdPeek = int (*)(uint32_t addr, uint32_t &data, bool isPeek);

/// The way to a device under test.
class MemRegDutAccess {
public:
    MemRegDutAccess(tDutWrPoke wrPoke, tDutRdPeek rdPeek) : ptr2DutWrPoke(wrPoke), ptr2DutRdPeek(rdPeek) {}
    /// Write or read entry `addr` of the object on the device, a word at a time. Do nothing without their function or
    /// with their last argument false. Return 0, or -1 when a word was refused or nothing was done.
    virtual int writeDutAt(const RegMemDefinition *def, uint32_t addr, const M_T &ln_, bool isPoke);
    virtual int readDutAt(const RegMemDefinition *def, uint32_t addr, M_T &ln_, bool isPeek);
    virtual ~MemRegDutAccess() = default;

    tDutWrPoke ptr2DutWrPoke;
    tDutRdPeek ptr2DutRdPeek;
};

class MemOrRegBase {
public:
    MemOrRegBase(const RegMemDefinition *def, tDutWrPoke wrPoke, tDutRdPeek rdPeek)
        : pMemRegDef(def), pDutAcc(std::make_unique<MemRegDutAccess>(wrPoke, rdPeek)) {}

    const RegMemDefinition *pMemRegDef; // null: an object without definition
    std::unique_ptr<MemRegDutAccess> pDutAcc;
};

/// A register. The definition must outlive it, as that of every object here.
class Register : public MemOrRegBase {
public:
    Register(const RegisterDefinition *def, tDutWrPoke wrPoke, tDutRdPeek rdPeek);
    /// Hands out the register's line; with `dutRd` the device is read as well. Returns 0.
    virtual int readReg(M_T &out, bool dutRd, bool isPeek);
    virtual ~Register() = default;

    uint32_t getField(const char *fld_name_) const { return pMemRegDef->getField(fld_name_, value); }
    bool setField(const char *fld_name_, uint32_t val, bool dutWr, bool isPoke);
    /// The register as one word.
    uint32_t getWord() const;
    void setWord(uint32_t word, bool dutWr, bool isPoke);

    M_T value;
};

/// A memory in sparse form: an entry that was never written reads as `resetVal`.
class EmbeddedMemory : public MemOrRegBase {
public:
    EmbeddedMemory(const MemoryDefinition *def, tDutWrPoke wrPoke, tDutRdPeek rdPeek);
    virtual ~EmbeddedMemory() = default;
    /// A copy of entry `addr`, compared with the device when `dutRd` is set. Returns 0, or -1 after a message for an
    /// address beyond the memory.
    virtual int readEntry(uint32_t addr, M_T &out, bool dutRd = false, bool isPeek = true);
    virtual tFldVal readEntryField2(uint32_t addr, const char *fld_name_);
    virtual uint32_t readEntryField(uint32_t addr, const char *fld_name_);
    /// Stores a copy of the line. Returns 0, or -1 for an address beyond the memory.
    virtual int writeAt(uint32_t addr, const M_T &ln_, bool dutWr, bool isPoke);
    virtual void copyContentToRtl() {}
    virtual void copyContentFromRtl() {}
    /// Write each entry from `first` to `last`, with the line or with an empty one. Return the count of entries.
    virtual uint32_t writeRange(uint32_t first, uint32_t last, const M_T &ln_);
    virtual uint32_t randomizeContent(uint32_t first, uint32_t last);

    /// Stores the keyWords() words of a packed entry, lowest bits first; it then reads as the line that unpackBinaryKey
    /// makes of them. An address beyond the memory is dropped.
    void writeRaw(uint32_t addr, const uint32_t *words);
    /// The inverse: packs entry `addr` into keyWords() words, lowest bits first; bits without a field are 0. Returns 0,
    /// or -1 after a message for an address beyond the memory.
    int readRaw(uint32_t addr, uint32_t *words) const;
    /// How the entry was written last, if ever.
    enum class Kept { NOT, LINE, RAW };
    Kept kept(uint32_t addr) const;
    /// Makes the entry one that was never written.
    void forget(uint32_t addr);
    /// Whether the entry was ever written.
    bool isWritten(uint32_t addr) const;
    uint32_t memSize() const { return size; }

    std::map<uint32_t, M_T> memContent; // entries that were written as lines
    M_T resetVal;

private:
    bool isInside(uint32_t addr) const;

    uint32_t size;
    uint32_t rawWords;
    std::vector<uint32_t> rawMask;    // the bits of a packed word that have a field
    std::vector<uint32_t> rawContent; // entries that were written as packed words
    std::vector<bool> rawWritten;
};

/// A memory in dense form. Its words stand in planes: word w of all rows is one run, so that a search that is decided
/// by the first word of a row reads nothing else.
class EmbeddedMemoryArray : public MemOrRegBase {
public:
    EmbeddedMemoryArray(const MemoryDefinition *def, tDutWrPoke wrPoke, tDutRdPeek rdPeek);
    virtual ~EmbeddedMemoryArray() = default;
    /// Returns 0, or -1 for an address beyond the memory.
    virtual int readEntry(uint32_t addr, M_T &out, bool dutRd, bool isPeek);
    virtual int writeAt(uint32_t addr, const M_T &ln_, bool dutWr, bool isPoke);
    virtual void copyContentToRtl() {}
    virtual void copyContentFromRtl() {}

    /// Word `w` of row `addr`, for a write; both must lie inside the memory. The reference is for that write alone.
    uint32_t &word(uint32_t addr, uint32_t w) {
        writeCnt++;
        return memContent[static_cast<size_t>(w) * stride + addr];
    }
    const uint32_t *plane(uint32_t w) const { return &memContent[static_cast<size_t>(w) * stride]; }
    /// Fills the first `byteCnt` bytes, counted in whole rows, with `byte`.
    void fill(uint8_t byte, uint32_t byteCnt);

    /// Counts the writes, so that one who keeps something of the contents sees that they have changed.
    uint64_t writes() const { return writeCnt; }

    uint32_t memSize; // rows
    uint32_t nwords;  // words of a row
    M_T_u resetVal = {};

private:
    struct Free {
        void operator()(uint32_t *p) const { std::free(p); }
    };
    size_t stride; // words from one plane to the next
    uint64_t writeCnt = 0;
    std::unique_ptr<uint32_t[], Free> memContent;
};

/// A TCAM: entry i is the rows 2i (Y) and 2i + 1 (X) of its array.
class EmbeddedTcamArray {
public:
    /// `def` gives the TCAM's entries and the fields of its key; it is copied.
    EmbeddedTcamArray(const MemoryDefinition *def, tDutWrPoke wrPoke, tDutRdPeek rdPeek);
    virtual ~EmbeddedTcamArray() = default;
    /// All entries that match the nwords words of `key`, lowest first. From the second search of unchanged entries on
    /// it goes by an index.
    virtual void doLookup(const uint32_t *key, std::vector<int> &hits) const;
    /// Write and read an entry. Return 0, or -1 on any error.
    virtual int writeXYAt(uint32_t index_, const M_T &yval, const M_T &xval, bool dutWr, bool isPoke);
    virtual int readXY(uint32_t index_, M_T &yval, M_T &xval, bool dutRdCmp, bool isPeek);

    /// Whether nwords words of a key match a row pair: X 1 matches a key bit 0, Y 1 a key bit 1, both nothing, none
    /// of them anything.
    bool compareKey(const uint32_t *srchKey, const uint32_t *xval, const uint32_t *yval) const;

    /// Stores nwords packed words of Y and of X, lowest bits first. An index beyond the TCAM is dropped.
    void writeXYRaw(uint32_t index_, const uint32_t *y, const uint32_t *x);
    /// Fills the first `byteCnt` bytes of the TCAM, 8 x nwords bytes an entry, with `byte`.
    void fill(uint8_t byte, uint32_t byteCnt) { pMemXY->fill(byte, byteCnt); }
    uint32_t memSize() const { return pMemXY->memSize / 2; }

private:
    /// The index of the rows as they stand; null for the first search of unchanged rows, and where it would not pay.
    const CmTcamIdx *index() const;
    /// The search that walks the rows.
    void walk(const uint32_t *key, std::vector<int> &hits) const;

    MemoryDefinition rowDef; // the array's: the TCAM's with twice the entries

public:
    std::unique_ptr<EmbeddedMemoryArray> pMemXY;

private:
    mutable std::unique_ptr<CmTcamIdx> idx;
    mutable uint64_t searchedAt = UINT64_MAX; // the writes at the last search
};
using EmbeddedTcam = EmbeddedTcamArray;

using tRegPtrMap = std::map<std::string, Register *, std::less<>>;
using tMemPtrMap = std::map<std::string, EmbeddedMemory *, std::less<>>;
using tTcamPtrMap = std::map<std::string, EmbeddedTcam *, std::less<>>;

using tInitRegDef = void (*)(tRegPtrMap &);
using tInitRamDef = void (*)(tMemPtrMap &);
using tInitTcamDef = void (*)(tTcamPtrMap &);

/// A block of the chip: its named registers, memories and TCAMs. An unknown name ends the process by a failed
/// assertion, after a message on standard error.
class CmChipBlock {
public:
    CmChipBlock() = default;
    CmChipBlock(tInitRegDef regDefs, tInitRamDef ramDefs, tInitTcamDef tcamDefs)
        : ptr2InitRegDef(regDefs), ptr2InitRamDef(ramDefs), ptr2InitTcamDef(tcamDefs) {}

    /// Fills the three collections. Returns 0, or -1, -2 or -3 when the first, second or third function is missing;
    /// then none has run.
    int configure();

    uint32_t BLK_REG_GET(const char *rnam) const;
    uint32_t BLK_REG_GET_FLD(const char *rnam, const char *fnam) const;
    void BLK_REG_SET(const char *rnam, uint32_t value, bool dutWr, bool isPoke);
    void BLK_REG_SET_FLD(const char *rnam, const char *fnam, uint32_t value, bool dutWr, bool isPoke);

    static uint32_t BLK_RAM_ENTRY_GET_FLD(const RegMemDefinition *def, const char *fnam, const M_T &ln_);
    static void BLK_RAM_SET_FLD(const RegMemDefinition *def, const char *fnam, M_T &ln_, uint32_t value);
    void BLK_RAM_SET_FLD(const char *mnam, const char *fnam, M_T &ln_, uint32_t value) const;
    static void BLK_RAM_SET_FLD_U64(const RegMemDefinition *def, const char *fnam, M_T &ln_, uint64_t value);
    void BLK_RAM_SET_FLD_U64(const char *mnam, const char *fnam, M_T &ln_, uint64_t value) const;

    /// Set a field of the line pair of a TCAM entry so that it matches `value` in the bits set in `mask`, and anything
    /// in the others.
    static void BLK_TCAM_SET_FLD(const RegMemDefinition *def, const char *fnam, M_T &yln_, M_T &xln_, uint32_t value,
                                 uint32_t mask);
    void BLK_TCAM_SET_FLD(const char *mnam, const char *fnam, M_T &yln_, M_T &xln_, uint32_t value,
                          uint32_t mask) const;
    static void BLK_TCAM_SET_FLD_U64(const RegMemDefinition *def, const char *fnam, M_T &yln_, M_T &xln_,
                                     uint64_t value, uint64_t mask);
    void BLK_TCAM_SET_FLD_U64(const char *mnam, const char *fnam, M_T &yln_, M_T &xln_, uint64_t value,
                              uint64_t mask) const;

    /// Prints `text` and each field of the line on standard output.
    static void DBG_PRNT_MEM_FLDS(const RegMemDefinition *def, const M_T &ln_, const char *text);

    tRegPtrMap RegCollection;
    tMemPtrMap RamCollection;
    tTcamPtrMap TcamCollection;
    tInitRegDef ptr2InitRegDef = nullptr;
    tInitRamDef ptr2InitRamDef = nullptr;
    tInitTcamDef ptr2InitTcamDef = nullptr;

private:
    Register *findReg(const char *rnam) const;
    const RegMemDefinition *ramDef(const char *mnam) const;
    const RegMemDefinition *tcamDef(const char *mnam) const;
};
