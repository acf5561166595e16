// What may touch what, and when.
#ifndef SCAPI_CHECK_RULES_H
#define SCAPI_CHECK_RULES_H

#include <string>

#include "json_file.h"
#include "path.h"

namespace check
{

enum class Group { kCutter, kShank, kHolder, kSpindle, kPart, kFixture, kMachine };
constexpr const char* kGroupNames[] = {"cutter", "shank",   "holder", "spindle",
                                       "part",   "fixture", "machine"};
inline const char* NameOf(Group group) { return kGroupNames[static_cast<std::size_t>(group)]; }

/// Where a body is mounted: on the base, or somewhere along one of the chains.
enum class Side { kBase, kTable, kHead };

/// One line of the job's table; each side names a group or a body.
struct Rule {
    std::string a, b;
    bool rapidMayTouch = false, feedMayTouch = false;
};
using Rules = std::vector<Rule>;

/// What the rules need to know of a body.
struct RuleSubject {
    std::string name;
    Group group;
    Side side;
    std::size_t link;
};

struct Contact {
    bool inRapid = false, inFeed = false; ///< may they touch?
    std::string reason;                   ///< why they may, in both; else empty

    bool MayTouch(MoveKind kind) const
    {
        return kind == MoveKind::kPlace || kind == MoveKind::kRapid ? inRapid : inFeed;
    }
};

/// The last rule that names the pair decides, else:
/// - bodies on one link never move against each other;
/// - bodies of the machine on one side, or one of them on the base, run in each other's guideways,
///   and so do the spindle and bodies of the machine on the head's side;
/// - the cutter cuts the part, but not in rapids;
/// - all else must not touch.
Contact MayTouch(const Rules& rules, const RuleSubject& a, const RuleSubject& b);

/// [{"between": [name, name], "rapid": "hit" or "allow", "feed": the same}]
Rules ReadRules(const Node& node);

} // namespace check

#endif
