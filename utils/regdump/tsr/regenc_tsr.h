#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "asic_dump.h"
#include "asic_reg_dump.h"
#include "regenc_tsr_listing.h"
#include "tbl/tsr_tbl_name.h"
#include "tsr_reg_dump.h"

/// A dump in memory: the header in host order, and the image in the file's byte order.
class RegencDump {
public:
    /// A Tessara of revision 2 with every word of its image 0.
    RegencDump();

    /// Takes header and image from the dump file `path`. Returns false after storing a message in `error`.
    bool load(const std::string &path, std::string &error);

    /// Writes the dump to the file `path`, in the way of `RegencOutput`. Returns false after storing a message in
    /// `error`.
    bool write(const std::string &path, std::string &error) const;

    asic_dump_hdr_t &hdr() { return hdr_; }
    const asic_dump_hdr_t &hdr() const { return hdr_; }
    tsr_dmp_t *image() { return image_.get(); }
    const tsr_dmp_t *image() const { return image_.get(); }

    /// The image's word at byte `dumpOff`, a multiple of 4 below `TSR_DUMP_SIZE`, in host order.
    uint32_t word(uint32_t dumpOff) const;
    void setWord(uint32_t dumpOff, uint32_t value);

private:
    struct Free {
        void operator()(tsr_dmp_t *image) const { std::free(image); }
    };

    asic_dump_hdr_t hdr_;
    std::unique_ptr<tsr_dmp_t, Free> image_;
};

/// The words that a name stands for: one, or with ranges many. `RegencNames::find` fills it.
struct RegencWords {
    /// One subscript of the name: how often it steps, and how far in each space.
    struct Step {
        uint32_t count;
        uint32_t chipStride;
        uint32_t dumpStride;
    };

    uint32_t chipOff; ///< chip byte offset of the first word
    uint32_t dumpOff; ///< image byte offset of the first word
    uint32_t run;     ///< words that follow each other at every step
    size_t numSteps;
    std::array<Step, REGDUMP_MAX_LEVELS + REGDUMP_MAX_DIMS> steps; ///< outermost first
    size_t numGroupSteps;                                          ///< how many of the steps are those of groups
    bool ranged;              ///< some subscript is a range, though it may hold one element only
    std::string_view field;   ///< the field behind the name, or empty
    const regdump_map_t *row; ///< the leaf
    uint32_t rowOff;          ///< image byte offset of the first instance's leaf
    const TblRow *table;      ///< the leaf's layouts, if `field` is one of a table that has some

    // With `table` only.
    std::string_view form; ///< the form before the field, or empty
    bool hasElem;          ///< the field has a subscript, `elemLo` to `elemHi`
    bool elemRanged;       ///< which is a range; UINT32_MAX stands for its last element
    uint32_t elemLo;
    uint32_t elemHi;
};

/// The names of a dump map, indexed by table.
class RegencNames {
public:
    explicit RegencNames(const regdump_map_t *map_startp);

    /// Finds the words of `name`: a full name as the listing prints it, in which any subscript may be a range (or * for
    /// all), followed by the name of a field if one is meant: of a register, or of a table's entry, then with a form
    /// before it and a subscript behind it where the table asks for them. With a range the last subscripts and the
    /// word number may be left out and stand for all; those of an entry's words before a field's name, and when
    /// `isEntry` says that the name is an entry's. Returns false after storing a message in `error`.
    bool find(std::string_view name, RegencWords &words, std::string &error, bool isEntry = false);

private:
    struct Table {
        const regdump_map_t *rows;
        std::vector<std::string_view> names;
        std::unordered_map<std::string_view, size_t> index;
        size_t last = 0; ///< the row found last: the next name is most often the same or the one behind it
    };
    struct Level;

    void add(const regdump_map_t *rows);
    const regdump_map_t *findRow(Table &table, std::string_view name);
    bool findLevel(std::string_view name, size_t &pos, Level &level, std::string &error);
    bool findField(std::string_view name, size_t &pos, RegencWords &words, std::string &error);

    std::unordered_map<const regdump_map_t *, Table> tables_;
    Table *top_;
};

/// Assembles a dump from text. One line sets one thing:
///
///     0x00001008:  0x0000002a  ftc_cntl          as the listing prints it
///     ftc_cntl = 42
///     rte_typ_cls_tcam[3..1023] = 0xffffffff     every word of these elements
///     ephy_reg[3].rte_prc_l2_ctl.rte_prc_l2_lu_en = 1
///     rte_l3_next_hop_rslt[7].eivid = 0x126      a field of a table's entry
///     tfe_tcam[5].ipv4_addr = 10.0.1.0/24        what a key's field shall be
///     tfe_tcam[6] = never                        a row that no key matches
///     header.chip_ver = 2
///
/// Within one text no line changes what an earlier line has set, with two exceptions: a field changes bits that its
/// word's line has set, and a range sets its words as if the text had not named them before. So the last line for a
/// word or a field always holds.
///
/// A field line to a ternary row that can match no key makes it match every key first, apart from what fields of this
/// text have set.
///
/// A comment runs from # to the end of its line. The header block and the headings of a listing are understood too: the
/// block's fields are taken, except for the time, which a listing shows in the time zone of its reader.
class RegencAssembler {
public:
    explicit RegencAssembler(RegencDump &dump);

    /// Starts a new text: words and fields may be set to other values than before.
    void beginText();

    /// Takes one line, without its line end. Returns false after storing a message in `error`: the line cannot be read,
    /// names nothing that a dump holds, has a value that does not fit, or contradicts an earlier line of this text.
    bool line(std::string_view text, std::string &error);

    /// Takes the file `path` as one text. Returns false after storing a message in `error` that begins with the file
    /// and the line.
    bool file(const std::string &path, std::string &error);

    /// Sets the words, the field or the header field `name`, whatever was set before. Returns false after storing a
    /// message in `error`.
    bool set(std::string_view name, uint32_t value, std::string &error);

    /// The same with a value as a line has it behind its `=`.
    bool setText(std::string_view name, std::string_view value, std::string &error);

    /// Calls `warn` with a message for each line that sets a bit which the load of the model drops; of a file, the
    /// message begins with the file and the line. Without it nothing is told.
    void onWarning(std::function<void(const std::string &)> warn) { warn_ = std::move(warn); }

private:
    /// What stands behind a line's `=`.
    struct Value {
        std::string_view text;
        bool isNumber; ///< `number` is it, as a word
        uint32_t number;
        std::string error; ///< why it is none
    };
    struct Setting;

    static Value readText(std::string_view text);

    bool listingLine(std::string_view text, std::string &error);
    size_t foretoldLine(std::string_view text, std::string &error);
    bool hdrBlockLine(std::string_view text, bool &taken, std::string &error);
    bool assign(std::string_view name, const Value &value, bool isAfresh, std::string &error);
    bool setHdr(std::string_view name, uint32_t value, std::string &error);
    bool setWord(uint32_t dumpOff, std::string_view name, uint32_t value, std::string &error);
    bool setWords(const RegencWords &words, uint32_t value);
    void startAfresh(uint32_t dumpOff);
    bool setFields(const RegencWords &words, std::string_view name, uint32_t value, std::string &error);
    bool setEntries(const RegencWords &words, std::string_view name, std::string_view text, std::string &error);
    bool useField(const RegencWords &words, Setting &setting, const TblFieldRef &ref, std::string &error);
    bool setEntry(Setting &setting, uint32_t dumpOff, std::string &error);
    bool setNever(const RegencWords &words, std::string_view name, std::string &error);
    void tell(std::string_view name, const std::string &message);

    RegencDump &dump_;
    RegencNames names_;
    std::vector<bool> wordClaims_; ///< for each word of the image: a single-word line of this text has set it
    std::unordered_map<uint32_t, uint32_t> fieldClaims_; ///< the bits of a word that field lines of this text have set
    RegencListingRun listing_;                           ///< behind the listing's line read last
    uint32_t hdrClaims_ = 0;                             ///< a bit for each word of the header
    std::function<void(const std::string &)> warn_;
    std::string file_;        ///< the file that is read, or empty
    uint64_t lineNumber_ = 0; ///< its line
};

/// The whole run of the program: assembles a dump from text files. Returns the process's exit value: 0, or 1 after a
/// message on standard error.
int regenc_tsr_main(int argc, char **argv);
