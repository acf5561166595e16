// Whole answers, as the interface gives them, of arguments that have been checked.
#ifndef PROXIMITY_QUERY_ANSWERS_H
#define PROXIMITY_QUERY_ANSWERS_H

#include "proximity/query/search.h"

namespace proximity
{

/// Fills in the resolution where it is left to the library.
Limits Complete(Limits limits, const Body& a, const Body& b);

scapi_result AnswerWithin(const Body& a, const double* poseA, const Body& b, const double* poseB,
                          const Limits& limits, Scratch& scratch);
scapi_result AnswerDistance(const Body& a, const double* poseA, const Body& b, const double* poseB,
                            const Limits& limits, Scratch& scratch);
scapi_contacts_result AnswerContacts(const Body& a, const double* poseA, const Body& b,
                                     const double* poseB, const Limits& limits, Scratch& scratch,
                                     scapi_contact* contacts, std::int64_t capacity);
scapi_impact AnswerImpact(const Body& a, const scapi_motion& motionA, const Body& b,
                          const scapi_motion& motionB, const Limits& limits, Scratch& scratch);

} // namespace proximity

#endif
