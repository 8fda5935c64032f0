#include "mem_reg_class.h"

#include "cmAssert.h"

#include <algorithm>
#include <cstdio>
#include <new>

// Fields.

tFldVal MemRegField::getMask() const {
    tFldVal mask;
    if (bitWidth > 32)
        mask.u64 = bitWidth >= 64 ? ~0ull : (1ull << bitWidth) - 1;
    else
        mask.u32 = bitWidth == 32 ? ~0u : (1u << bitWidth) - 1;
    return mask;
}

void MemRegField::maskFld(tFldVal &val) const {
    const tFldVal mask = getMask();
    val.u32 &= mask.u32;
    val.u64 &= mask.u64;
}

// Definitions.

void RegMemDefinition::init() {
    name.clear();
    memBase = 0;
    fieldDefinitions.clear();
    rtlPath.clear();
    field_zero = {};
}

void MemoryDefinition::init() {
    RegMemDefinition::init();
    memSize = 0;
}

void RegMemDefinition::addField(const char *fld_name_, unsigned bitWidth_, unsigned bitPos, unsigned pos,
                                uint32_t resetValue) {
    MemRegField fld;
    fld.fieldName = fld_name_;
    fld.bitWidth = bitWidth_;
    fld.bitPos = bitPos;
    fld.pos = pos;
    fld.resetValue.u32 = resetValue;
    fieldDefinitions[fld_name_] = fld;
}

const MemRegField *RegMemDefinition::findField(const char *fld_name_) const {
    for (const auto &[key, fld] : fieldDefinitions) {
        if (*key == *fld_name_ && std::strcmp(key, fld_name_) == 0)
            return &fld;
    }
    return nullptr;
}

const MemRegField &RegMemDefinition::fieldToRead(const char *fld_name_, const M_T &ln_) const {
    const MemRegField *fld = findField(fld_name_);
    if (!fld)
        std::fprintf(stderr, "PANIC: getField -- field <%s> not found in memory <%s>\n", fld_name_, name.c_str());
    CM_ASSERT_TXT(fld != nullptr, "iFld != fieldDefinitions.end()");
    CM_ASSERT_TXT(fld->pos < ln_.size(), "aFld.pos < ln_.size()");
    return *fld;
}

uint32_t RegMemDefinition::getField(const char *fld_name_, const M_T &ln_) const {
    const MemRegField &fld = fieldToRead(fld_name_, ln_);
    return ln_[fld.pos].u32 & fld.getMask().u32;
}

tFldVal RegMemDefinition::getField2(const char *fld_name_, const M_T &ln_) const {
    const MemRegField &fld = fieldToRead(fld_name_, ln_);
    tFldVal val = ln_[fld.pos];
    fld.maskFld(val);
    return val;
}

/// Stores `value` at the field's place; `func` is the signature of the function that writes.
static void storeField(const MemRegField &fld, M_T &ln_, tFldVal value, const char *func) {
    if (fld.pos >= ln_.size()) {
        std::fprintf(stderr, "ERROR>> %s: ln_.size=%zu -- aFld.pos=%u -- fld_name_=%s\n", func, ln_.size(), fld.pos,
                     fld.fieldName.c_str());
        CmAssertFail("aFld.pos < ln_.size()", __FILE_NAME__, __LINE__, func);
    }
    ln_[fld.pos] = value;
}

bool RegMemDefinition::setField(const char *fld_name_, M_T &ln_, uint32_t value) const {
    const MemRegField *fld = findField(fld_name_);
    if (!fld)
        std::fprintf(stderr, "PANIC: setField - field <%s> not found in memory <%s>\n", fld_name_, name.c_str());
    CM_ASSERT_TXT(fld != nullptr, "found && (iFld != fieldDefinitions.end())");
    storeField(*fld, ln_, {value, 0}, __PRETTY_FUNCTION__);
    return true;
}

bool RegMemDefinition::setField2(const char *fld_name_, M_T &ln_, tFldVal value) const {
    const MemRegField *fld = findField(fld_name_);
    if (!fld)
        std::fprintf(stderr, "ERROR>> setField - field <%s> not found in memory <%s>\n", fld_name_, name.c_str());
    CM_ASSERT_TXT(fld != nullptr, "found && (iFld != fieldDefinitions.end())");
    storeField(*fld, ln_, value, __PRETTY_FUNCTION__);
    return true;
}

uint32_t RegMemDefinition::bitWidth(const char *fld_name_) const {
    const MemRegField *fld = findField(fld_name_);
    if (!fld)
        std::fprintf(stderr, "PANIC: getField -- field <%s> not found in memory <%s>\n", fld_name_, name.c_str());
    CM_ASSERT_TXT(fld != nullptr, "iFld != fieldDefinitions.end()");
    return fld->bitWidth;
}

uint32_t RegMemDefinition::totalBitWidth() const {
    uint32_t total = 0;
    for (const auto &[key, fld] : fieldDefinitions)
        total += fld.bitWidth;
    return total;
}

uint32_t RegMemDefinition::keyWords() const {
    uint32_t top = totalBitWidth();
    for (const auto &[key, fld] : fieldDefinitions)
        top = std::max(top, fld.bitPos + fld.bitWidth);
    return (top + 31) / 32;
}

void RegMemDefinition::packBinaryKey(const M_T &ln_, uint32_t *key) const {
    std::fill_n(key, (totalBitWidth() + 31) / 32, 0u);
    for (const auto &[fldName, fld] : fieldDefinitions) {
        CM_ASSERT_TXT(fld.pos < ln_.size(), "aFld.pos < ln_.size()");
        tFldVal val = ln_[fld.pos];
        fld.maskFld(val);
        uint32_t *word = key + fld.bitPos / 32;
        const unsigned offset = fld.bitPos % 32;
        const uint64_t bits = fld.bitWidth > 32 ? val.u64 : val.u32;
        const uint64_t low = bits << offset;
        word[0] |= static_cast<uint32_t>(low);
        if (offset + fld.bitWidth > 32)
            word[1] |= static_cast<uint32_t>(low >> 32);
        if (offset + fld.bitWidth > 64)
            word[2] |= static_cast<uint32_t>(bits >> (64 - offset));
    }
}

void RegMemDefinition::unpackBinaryKey(const uint32_t *key, M_T &ln_) const {
    ln_.assign(numFields(), field_zero);
    for (const auto &[fldName, fld] : fieldDefinitions) {
        const uint32_t *word = key + fld.bitPos / 32;
        const unsigned offset = fld.bitPos % 32;
        uint64_t bits = word[0] >> offset;
        if (offset + fld.bitWidth > 32)
            bits |= static_cast<uint64_t>(word[1]) << (32 - offset);
        if (offset + fld.bitWidth > 64)
            bits |= static_cast<uint64_t>(word[2]) << (64 - offset);
        tFldVal val;
        if (fld.bitWidth > 32)
            val.u64 = bits;
        else
            val.u32 = static_cast<uint32_t>(bits);
        fld.maskFld(val);
        storeField(fld, ln_, val, __PRETTY_FUNCTION__);
    }
}

void RegMemDefinition::MaskFieldsToWidth(M_T &ln_) const {
    for (const auto &[key, fld] : fieldDefinitions) {
        CM_ASSERT_TXT(fld.pos < ln_.size(), "aFld.pos < ln_.size()");
        fld.maskFld(ln_[fld.pos]);
    }
}

// The way to the device under test.

int MemRegDutAccess::writeDutAt(const RegMemDefinition *def, uint32_t addr, const M_T &ln_, bool isPoke) {
    if (!ptr2DutWrPoke || !isPoke)
        return -1;
    std::vector<uint32_t> words(def->keyWords());
    def->packBinaryKey(ln_, words.data());
    const uint32_t wordCnt = static_cast<uint32_t>(words.size());
    for (uint32_t w = 0; w < wordCnt; w++) {
        if (ptr2DutWrPoke(def->memBase + 4 * (addr * wordCnt + w), words[w], isPoke) < 0)
            return -1;
    }
    return 0;
}

int MemRegDutAccess::readDutAt(const RegMemDefinition *def, uint32_t addr, M_T &ln_, bool isPeek) {
    if (!ptr2DutRdPeek || !isPeek)
        return -1;
    std::vector<uint32_t> words(def->keyWords());
    const uint32_t wordCnt = static_cast<uint32_t>(words.size());
    for (uint32_t w = 0; w < wordCnt; w++) {
        if (ptr2DutRdPeek(def->memBase + 4 * (addr * wordCnt + w), words[w], isPeek) < 0)
            return -1;
    }
    def->unpackBinaryKey(words.data(), ln_);
    return 0;
}

/// Reads entry `addr` from the device, if it answers, and prints each word in which it differs from the model's line.
static void compareWithDut(const MemOrRegBase &obj, uint32_t addr, const M_T &ln_, bool isPeek) {
    M_T dutLine;
    if (obj.pDutAcc->readDutAt(obj.pMemRegDef, addr, dutLine, isPeek) < 0)
        return;
    std::vector<uint32_t> cm(obj.pMemRegDef->keyWords());
    std::vector<uint32_t> dut(cm.size());
    obj.pMemRegDef->packBinaryKey(ln_, cm.data());
    obj.pMemRegDef->packBinaryKey(dutLine, dut.data());
    for (size_t w = 0; w < cm.size(); w++) {
        if (cm[w] != dut[w])
            std::printf("addr: %x -- mismatch, cm: %x dut: %x\n", addr, cm[w], dut[w]);
    }
}

// Registers.

Register::Register(const RegisterDefinition *def, tDutWrPoke wrPoke, tDutRdPeek rdPeek)
    : MemOrRegBase(def, wrPoke, rdPeek), value(def->numFields(), def->field_zero) {}

int Register::readReg(M_T &out, bool dutRd, bool isPeek) {
    out = value;
    if (dutRd)
        compareWithDut(*this, 0, value, isPeek);
    return 0;
}

bool Register::setField(const char *fld_name_, uint32_t val, bool dutWr, bool isPoke) {
    const bool stored = pMemRegDef->setField(fld_name_, value, val);
    if (dutWr)
        pDutAcc->writeDutAt(pMemRegDef, 0, value, isPoke);
    return stored;
}

uint32_t Register::getWord() const {
    M_T_u words = {};
    pMemRegDef->packBinaryKey(value, words);
    return words[0];
}

void Register::setWord(uint32_t word, bool dutWr, bool isPoke) {
    const M_T_u words = {word};
    pMemRegDef->unpackBinaryKey(words, value);
    if (dutWr)
        pDutAcc->writeDutAt(pMemRegDef, 0, value, isPoke);
}

// Sparse memories.

EmbeddedMemory::EmbeddedMemory(const MemoryDefinition *def, tDutWrPoke wrPoke, tDutRdPeek rdPeek)
    : MemOrRegBase(def, wrPoke, rdPeek), resetVal(def->numFields(), def->field_zero), size(def->memSize),
      rawWords(def->keyWords()), rawMask(rawWords) {
    M_T ones = resetVal;
    for (const auto &[key, fld] : def->fieldDefinitions) {
        CM_ASSERT_TXT(fld.pos < resetVal.size(), "aFld.pos < ln_.size()");
        resetVal[fld.pos] = fld.resetValue;
        ones[fld.pos] = fld.getMask();
    }
    def->packBinaryKey(ones, rawMask.data());
}

bool EmbeddedMemory::isInside(uint32_t addr) const {
    if (addr < size)
        return true;
    std::printf("Error: memory '%s', defined size (%u) smaller than read address (%u)\n", pMemRegDef->name.c_str(),
                size, addr);
    return false;
}

int EmbeddedMemory::readEntry(uint32_t addr, M_T &out, bool dutRd, bool isPeek) {
    if (!isInside(addr))
        return -1;
    if (!rawWritten.empty() && rawWritten[addr])
        pMemRegDef->unpackBinaryKey(&rawContent[static_cast<size_t>(addr) * rawWords], out);
    else if (const auto entry = memContent.find(addr); entry != memContent.end())
        out = entry->second;
    else
        out = resetVal;
    if (dutRd)
        compareWithDut(*this, addr, out, isPeek);
    return 0;
}

uint32_t EmbeddedMemory::readEntryField(uint32_t addr, const char *fld_name_) {
    M_T ln_;
    CM_ASSERT_TXT(readEntry(addr, ln_) >= 0, "readEntry(index_, ln_)>=0");
    return pMemRegDef->getField(fld_name_, ln_);
}

tFldVal EmbeddedMemory::readEntryField2(uint32_t addr, const char *fld_name_) {
    M_T ln_;
    CM_ASSERT_TXT(readEntry(addr, ln_) >= 0, "readEntry(index_, ln_)>=0");
    return pMemRegDef->getField2(fld_name_, ln_);
}

int EmbeddedMemory::writeAt(uint32_t addr, const M_T &ln_, bool dutWr, bool isPoke) {
    if (addr >= size)
        return -1;
    memContent[addr] = ln_;
    if (!rawWritten.empty())
        rawWritten[addr] = false;
    if (dutWr)
        pDutAcc->writeDutAt(pMemRegDef, addr, ln_, isPoke);
    return 0;
}

uint32_t EmbeddedMemory::writeRange(uint32_t first, uint32_t last, const M_T &ln_) {
    uint32_t count = 0;
    for (uint64_t addr = first; addr <= last; addr++, count++)
        writeAt(static_cast<uint32_t>(addr), ln_, false, true);
    return count;
}

uint32_t EmbeddedMemory::randomizeContent(uint32_t first, uint32_t last) {
    uint32_t count = 0;
    for (uint64_t addr = first; addr <= last; addr++, count++)
        writeAt(static_cast<uint32_t>(addr), M_T(pMemRegDef->numFields(), pMemRegDef->field_zero), false, true);
    return count;
}

void EmbeddedMemory::writeRaw(uint32_t addr, const uint32_t *words) {
    if (addr >= size)
        return;
    if (rawWritten.empty()) {
        rawContent.resize(static_cast<size_t>(size) * rawWords);
        rawWritten.resize(size);
    }
    std::copy_n(words, rawWords, &rawContent[static_cast<size_t>(addr) * rawWords]);
    rawWritten[addr] = true;
    if (!memContent.empty())
        memContent.erase(addr);
}

int EmbeddedMemory::readRaw(uint32_t addr, uint32_t *words) const {
    if (!isInside(addr))
        return -1;
    if (!rawWritten.empty() && rawWritten[addr]) {
        const uint32_t *raw = &rawContent[static_cast<size_t>(addr) * rawWords];
        for (uint32_t w = 0; w < rawWords; w++)
            words[w] = raw[w] & rawMask[w];
        return 0;
    }
    const auto entry = memContent.find(addr);
    std::fill_n(words, rawWords, 0u);
    pMemRegDef->packBinaryKey(entry != memContent.end() ? entry->second : resetVal, words);
    return 0;
}

EmbeddedMemory::Kept EmbeddedMemory::kept(uint32_t addr) const {
    if (addr < rawWritten.size() && rawWritten[addr])
        return Kept::RAW;
    return memContent.count(addr) != 0 ? Kept::LINE : Kept::NOT;
}

void EmbeddedMemory::forget(uint32_t addr) {
    if (addr < rawWritten.size())
        rawWritten[addr] = false;
    memContent.erase(addr);
}

bool EmbeddedMemory::isWritten(uint32_t addr) const {
    return kept(addr) != Kept::NOT;
}

// Dense memories.

static uint32_t rowWords(const RegMemDefinition &def) {
    const uint32_t words = (def.totalBitWidth() + 31) / 32;
    if (words > M_T_U_WORDS)
        std::fprintf(stderr, "PANIC: TCAM memory wider than 512 bits. Adjust the implementation\n");
    CM_ASSERT_TXT(words <= M_T_U_WORDS, "nwords <= 16");
    return words;
}

// A cache line between two planes keeps the words of one row out of one cache set.
static constexpr size_t kPlaneGap = 16;

EmbeddedMemoryArray::EmbeddedMemoryArray(const MemoryDefinition *def, tDutWrPoke wrPoke, tDutRdPeek rdPeek)
    : MemOrRegBase(def, wrPoke, rdPeek), memSize(def->memSize), nwords(rowWords(*def)), stride(memSize + kPlaneGap),
      memContent(static_cast<uint32_t *>(std::calloc(nwords * stride + 1, sizeof(uint32_t)))) {
    if (memContent == nullptr)
        throw std::bad_alloc();
}

int EmbeddedMemoryArray::readEntry(uint32_t addr, M_T &out, bool dutRd, bool isPeek) {
    if (addr >= memSize)
        return -1;
    std::vector<uint32_t> words(std::max(pMemRegDef->keyWords(), nwords));
    for (uint32_t w = 0; w < nwords; w++)
        words[w] = plane(w)[addr];
    pMemRegDef->unpackBinaryKey(words.data(), out);
    if (dutRd)
        compareWithDut(*this, addr, out, isPeek);
    return 0;
}

int EmbeddedMemoryArray::writeAt(uint32_t addr, const M_T &ln_, bool dutWr, bool isPoke) {
    if (addr >= memSize)
        return -1;
    M_T masked = ln_;
    pMemRegDef->MaskFieldsToWidth(masked);
    std::vector<uint32_t> words(pMemRegDef->keyWords());
    pMemRegDef->packBinaryKey(masked, words.data());
    for (uint32_t w = 0; w < nwords; w++)
        word(addr, w) = words[w];
    if (dutWr)
        pDutAcc->writeDutAt(pMemRegDef, addr, masked, isPoke);
    return 0;
}

void EmbeddedMemoryArray::fill(uint8_t byte, uint32_t byteCnt) {
    if (nwords == 0)
        return;
    const uint32_t rows = std::min(memSize, byteCnt / (nwords * 4));
    for (uint32_t w = 0; w < nwords; w++)
        std::memset(&word(0, w), byte, static_cast<size_t>(rows) * 4);
}

// TCAMs.

static MemoryDefinition twoRowsAnEntry(const MemoryDefinition &def) {
    MemoryDefinition rows = def;
    rows.memSize = 2 * def.memSize;
    return rows;
}

EmbeddedTcamArray::EmbeddedTcamArray(const MemoryDefinition *def, tDutWrPoke wrPoke, tDutRdPeek rdPeek)
    : rowDef(twoRowsAnEntry(*def)), pMemXY(std::make_unique<EmbeddedMemoryArray>(&rowDef, wrPoke, rdPeek)) {}

/// Bits of one word in which a key misses.
static inline uint32_t missBits(uint32_t key, uint32_t x, uint32_t y) {
    return (x & y) | ((key ^ y) & (x | y));
}

bool EmbeddedTcamArray::compareKey(const uint32_t *srchKey, const uint32_t *xval, const uint32_t *yval) const {
    for (uint32_t w = 0; w < pMemXY->nwords; w++) {
        if (missBits(srchKey[w], xval[w], yval[w]) != 0)
            return false;
    }
    return true;
}

const CmTcamIdx *EmbeddedTcamArray::index() const {
    if (searchedAt != pMemXY->writes()) {
        searchedAt = pMemXY->writes();
        idx.reset();
        return nullptr;
    }
    const uint32_t nwords = pMemXY->nwords;
    if (!idx && nwords > 0 && nwords <= CmTcamIdx::kMaxWords) {
        idx = std::make_unique<CmTcamIdx>(memSize(), nwords, [&](uint32_t i, CmTcamIdx::Row &row) {
            uint32_t never = 0;
            for (uint32_t w = 0; w < nwords; w++) {
                const uint32_t *xy = pMemXY->plane(w) + 2 * static_cast<size_t>(i);
                row.want[w] = xy[0];
                row.care[w] = xy[0] | xy[1];
                never |= xy[0] & xy[1];
            }
            return never == 0;
        });
    }
    return idx && idx->isWorth() ? idx.get() : nullptr;
}

void EmbeddedTcamArray::doLookup(const uint32_t *key, std::vector<int> &hits) const {
    hits.clear();
    if (!pMemXY->pMemRegDef)
        return;
    const CmTcamIdx *by = index();
    if (!by)
        return walk(key, hits);
    by->all(key, [&](uint32_t i) {
        hits.push_back(static_cast<int>(i));
        return true;
    });
}

void EmbeddedTcamArray::walk(const uint32_t *key, std::vector<int> &hits) const {
    const uint32_t nwords = pMemXY->nwords;
    const uint32_t entries = memSize();
    // The first words of a run of entries are tested together; few runs hold an entry that passes. Those are tested
    // word by word, and given up at the first word that no entry passes.
    constexpr uint32_t kRun = 32;
    for (uint32_t run = 0; run < entries; run += kRun) {
        const uint32_t cnt = std::min(entries - run, kRun);
        uint32_t passed = 1;
        if (nwords > 0) {
            const uint32_t *row = pMemXY->plane(0) + 2 * static_cast<size_t>(run);
            passed = 0;
            for (uint32_t i = 0; i < cnt; i++)
                passed |= missBits(key[0], row[2 * i + 1], row[2 * i]) == 0;
        }
        if (!passed)
            continue;
        uint32_t miss[kRun] = {};
        for (uint32_t w = 0; passed && w < nwords; w++) {
            const uint32_t *row = pMemXY->plane(w) + 2 * static_cast<size_t>(run);
            passed = 0;
            for (uint32_t i = 0; i < cnt; i++) {
                miss[i] |= missBits(key[w], row[2 * i + 1], row[2 * i]);
                passed |= miss[i] == 0;
            }
        }
        if (!passed)
            continue;
        int found[kRun];
        uint32_t foundCnt = 0;
        for (uint32_t i = 0; i < cnt; i++) {
            found[foundCnt] = static_cast<int>(run + i);
            foundCnt += miss[i] == 0;
        }
        hits.insert(hits.end(), found, found + foundCnt);
    }
}

int EmbeddedTcamArray::writeXYAt(uint32_t index_, const M_T &yval, const M_T &xval, bool dutWr, bool isPoke) {
    if (index_ >= memSize())
        return -1;
    if (pMemXY->writeAt(2 * index_, yval, dutWr, isPoke) < 0)
        return -1;
    return pMemXY->writeAt(2 * index_ + 1, xval, dutWr, isPoke) < 0 ? -1 : 0;
}

int EmbeddedTcamArray::readXY(uint32_t index_, M_T &yval, M_T &xval, bool dutRdCmp, bool isPeek) {
    if (index_ >= memSize())
        return -1;
    if (pMemXY->readEntry(2 * index_, yval, dutRdCmp, isPeek) < 0)
        return -1;
    return pMemXY->readEntry(2 * index_ + 1, xval, dutRdCmp, isPeek) < 0 ? -1 : 0;
}

void EmbeddedTcamArray::writeXYRaw(uint32_t index_, const uint32_t *y, const uint32_t *x) {
    if (index_ >= memSize())
        return;
    for (uint32_t w = 0; w < pMemXY->nwords; w++) {
        uint32_t *row = &pMemXY->word(2 * index_, w);
        row[0] = y[w];
        row[1] = x[w];
    }
}
