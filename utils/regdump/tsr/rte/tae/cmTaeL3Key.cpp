// The layer-3 ACL keys from their lists: the plain places stand in cmTaeL3Key.def, the cells' in the TCAM's table.

#include "tae/cmTaeL3Key.h"

#include "base/keyShuffle.h"

#define KEY KEY_MOVE_CNT
#define FLD FLD_MOVE_CNT
#include "tae/cmTaeL3Key.def"
#define KEY KEY_MOVES
#define FLD FLD_MOVES
#include "tae/cmTaeL3Key.def"
#define KEY KEY_BITS
#define FLD FLD_BITS
#include "tae/cmTaeL3Key.def"
#define KEY KEY_PROOF
#include "tae/cmTaeL3Key.def"

#define KEY KEY_PLAIN
#define FLD FLD_PLAIN
#include "tae/cmTaeL3Key.def"

#define KEY(Type, Row, words, ...)                                                                                     \
    void ReshuffleKey(const Type *in, Type##R *out, int dbg) {                                                         \
        reshuffle(kKeyMoves<Type>, #Type, in->word, out->word, dbg);                                                   \
    }
#include "tae/cmTaeL3Key.def"
