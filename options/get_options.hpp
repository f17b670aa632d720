#ifndef OPTIONS_GET_OPTIONS_HPP
#define OPTIONS_GET_OPTIONS_HPP

#include <cstdint>

/// What the two forms of the get options have in common, over the record type of either.

namespace zeb {

// The bits that say whether a get takes part in a unit of work.
inline constexpr std::int32_t participation = 2;
inline constexpr std::int32_t noParticipation = 4;
inline constexpr std::int32_t otherParticipation = 4096;

/// The fields that both records begin with, other than zero. The version is the class's own.
template <class Record> constexpr void setGetOptionsDefaults(Record & record) {
    record.structureId[0] = 'G';
    record.structureId[1] = 'M';
    record.structureId[2] = 'O';
    record.structureId[3] = ' ';
    record.gmoWord72 = 3;
    record.gmoByte76 = ' ';
    record.gmoByte77 = ' ';
    record.gmoByte78 = ' ';
    record.gmoByte79 = ' ';
}

template <class Record> bool participates(const Record & record) {
    return (record.options & (participation | otherParticipation)) != 0;
}

template <class Record> void setParticipation(Record & record, bool participate) {
    record.options &= ~(participation | noParticipation | otherParticipation);
    record.options |= participate ? participation : noParticipation;
}

} // namespace zeb

#endif
