#pragma once
// Entries and their fields as rows of an answer, as conditions, and as lines of the assembler.

#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "cli_out.h"
#include "regtab.h"
#include "tbl/tsr_tbl_mem.h"

/// The columns of a place, and its cells: listing name, chip address, byte of the file.
void rtPlaceColumns(std::vector<CliColumn> &columns);
void rtPutPlace(CliTable &table, const TblMem &mem, uint32_t place);
void rtPutPlace(CliTable &table, std::string_view name, uint32_t chipOff, uint32_t imageOff);

/// Element `elem` of a field of an entry as a person reads it: a value, or what a key's field shall be. A number is
/// given as such if it can be.
CliItem rtItem(const TblFieldRef &ref, unsigned elem, const uint32_t *words);

/// An item as text, and the name of element `elem` of a field: "hsh_typ[3]".
std::string rtItemText(const CliItem &item);
std::string rtFieldName(const TblField &field, unsigned elem);

/// Whether that field of an entry says something: it is not 0, and asks for something in a key.
bool rtSays(const TblFieldRef &ref, unsigned elem, const uint32_t *words);

/// The fields of an entry that say something, as "name=value name=value"; other readings of a field's bits, and names
/// in `skip`, are left out.
std::string rtFieldsText(const TblDesc &desc, const uint32_t *words, std::span<const std::string_view> skip = {});

/// A condition FIELD=VALUE[/MASK] on one field of a value, a match or a text.
struct RtCond {
    std::string field;
    std::optional<uint32_t> elem; ///< the subscript behind the field
    std::string value;

    /// Reads it from a word of the command line.
    static RtCond of(const std::string &word);

    /// Its value for a field of this kind and width. Throws `RtError` when it cannot be read.
    TblMatch match(TblKind kind, unsigned width) const;
};

/// Whether some value fits both.
bool rtMeet(const TblMatch &a, const TblMatch &b);

/// Writes entries as lines that the assembler takes back: it then has the same words. An entry is written once.
class RtLines {
public:
    explicit RtLines(const void *image) : image_(image) {}

    /// Writes the entry that stands at `place` of `mem`.
    void put(const TblMem &mem, uint32_t place);

    /// Writes the row: of a TCAM all entries, with one line for a run of those that match no key or every key; of any
    /// other those that are not 0.
    void putAll(const TblMem &mem);

    uint64_t lines() const { return lines_; }

private:
    void line(std::string_view name, std::string_view value);
    void putWords(const TblMem &mem, const TblEntry &entry, const uint32_t *words);
    void putFields(const TblMem &mem, const TblEntry &entry, const uint32_t *words);

    const void *image_;
    std::unordered_set<uint32_t> done_; ///< bytes of the image where entries begin
    uint64_t lines_ = 0;
};
