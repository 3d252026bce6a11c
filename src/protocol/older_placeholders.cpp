// Temporary: definitions until the older instruments' procedures land (this file is then removed).
#include "protocol/older_procedures.h"

namespace kelvara {
#define KELVARA_PENDING(fn) \
    void fn(Session& s) { s.prompts.message("Not available yet."); }
KELVARA_PENDING(read_curve_from_kor)
KELVARA_PENDING(read_curve_from_lum)
KELVARA_PENDING(read_curve_from_nav)
KELVARA_PENDING(write_curve_to_kor)
KELVARA_PENDING(write_curve_to_lum)
KELVARA_PENDING(write_curve_to_nav)
KELVARA_PENDING(delete_curve_from_kor)
KELVARA_PENDING(delete_curve_from_lum)
KELVARA_PENDING(delete_curve_from_nav)
KELVARA_PENDING(write_curve_to_hox)
KELVARA_PENDING(read_curve_from_hox)
KELVARA_PENDING(delete_curve_from_hox)
KELVARA_PENDING(write_curve_to_elk)
KELVARA_PENDING(write_curve_to_kip)
KELVARA_PENDING(read_curve_from_elk)
KELVARA_PENDING(delete_curve_from_elk)
KELVARA_PENDING(choose_scaling)
int query_bytes_free(Session&) { return 0; }
}  // namespace kelvara
