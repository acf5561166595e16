#include "rules.h"

namespace check
{
namespace
{

bool Names(const std::string& word, const RuleSubject& subject)
{
    return word == subject.name || word == NameOf(subject.group);
}

bool Names(const Rule& rule, const RuleSubject& a, const RuleSubject& b)
{
    return (Names(rule.a, a) && Names(rule.b, b)) || (Names(rule.a, b) && Names(rule.b, a));
}

bool ShareGuideways(const RuleSubject& a, const RuleSubject& b)
{
    const bool spindle = a.group == Group::kSpindle || b.group == Group::kSpindle;
    const bool machineOnly = (a.group == Group::kMachine || a.group == Group::kSpindle) &&
                             (b.group == Group::kMachine || b.group == Group::kSpindle);
    if (!machineOnly) return false;
    if (spindle) return a.side == Side::kHead && b.side == Side::kHead;
    return a.side == b.side || a.side == Side::kBase || b.side == Side::kBase;
}

bool Cuts(const RuleSubject& a, const RuleSubject& b)
{
    return a.group == Group::kCutter && b.group == Group::kPart;
}

} // namespace

Contact MayTouch(const Rules& rules, const RuleSubject& a, const RuleSubject& b)
{
    if (a.link == b.link) return {true, true, "on one link"};
    for (auto rule = rules.rbegin(); rule != rules.rend(); ++rule)
        if (Names(*rule, a, b))
            return {rule->rapidMayTouch, rule->feedMayTouch,
                    rule->rapidMayTouch && rule->feedMayTouch ? "a rule of the job" : ""};
    if (ShareGuideways(a, b)) return {true, true, "guideways of the machine"};
    return {false, Cuts(a, b) || Cuts(b, a), ""};
}

Rules ReadRules(const Node& node)
{
    Rules rules;
    for (const Node& element : Elements(node, 0)) {
        if (!IsObject(element, {"between", "rapid", "feed"})) continue;
        const std::vector<Node> names = Elements(Need(element, "between"), 2);
        if (names.size() != 2) {
            if (!names.empty()) Complain(element, "\"between\" must be a pair of names");
            continue;
        }
        const int rapid = Choice(Need(element, "rapid"), {"hit", "allow"}, 0);
        const int feed = Choice(Need(element, "feed"), {"hit", "allow"}, 0);
        rules.push_back({Text(names[0]), Text(names[1]), rapid == 1, feed == 1});
    }
    return rules;
}

} // namespace check
