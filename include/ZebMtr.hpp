#ifndef ZEBMTR_HPP
#define ZEBMTR_HPP

#include "ZebBin.hpp"

/// The five values by which a message is tracked: accounting token, correlation id, feedback, group
/// id and message id. Stands alone as a value, and is a base of ZebMsg, where the same five are
/// fields of the descriptor.
///
/// Ownership. The object holds five pointers. One that is null when its field is first set gets a
/// block of its own, allocated plainly; the destructor releases every pointer that is not null. A
/// derived class that wires a pointer to storage of its own sets it back to null before this
/// destructor runs.
///
/// A field without storage reads as an empty ZebBin (the feedback as 0), one with storage always in
/// its full width. Storage, once there, stays.
class ZEB_EXPORT ZebMtr : public virtual ZebErr {
public:
    /// No storage in any field.
    ZebMtr();
    /// A tracker with five blocks of its own, assigned from the source.
    ZebMtr(const ZebMtr & source);
    ~ZebMtr() override;
    /// Takes the source's codes and five values; a source field without storage, or one that can't
    /// be read, gives zero bytes. Writes where this object's pointers point. On itself, nothing.
    void operator=(const ZebMtr & source);

    /// The accounting token: 32 bytes, or empty.
    ZebBin accountingToken() const;
    /// The correlation id: 24 bytes, or empty.
    ZebBin correlationId() const;
    /// The group id: 24 bytes, or empty.
    ZebBin groupId() const;
    /// The message id: 24 bytes, or empty.
    ZebBin messageId() const;
    /// The feedback code; 32 bits.
    std::int32_t feedback() const;

    /// Sets the feedback code; 32 bits.
    void setFeedback(std::int32_t feedback);
    /// Copies 32 bytes from `token`; null sets them to zero.
    void setAccountingToken(const unsigned char * token);
    /// Copies 24 bytes from `id`; null sets them to zero.
    void setCorrelationId(const unsigned char * id);
    /// Copies 24 bytes from `id`; null sets them to zero.
    void setGroupId(const unsigned char * id);
    /// Copies 24 bytes from `id`; null sets them to zero.
    void setMessageId(const unsigned char * id);
    /// Takes a value of 32 bytes; an empty one sets them to zero. Any other length:
    /// ZBRC_BINARY_DATA_LENGTH_ERROR, the value stays (zero bytes if there was none).
    bool setAccountingToken(const ZebBin & token);
    /// Takes a value of 24 bytes or none, as setAccountingToken.
    bool setCorrelationId(const ZebBin & id);
    /// Takes a value of 24 bytes or none, as setAccountingToken.
    bool setGroupId(const ZebBin & id);
    /// Takes a value of 24 bytes or none, as setAccountingToken.
    bool setMessageId(const ZebBin & id);

protected:
    unsigned char * accountingTokenField = nullptr; ///< 32 bytes.
    unsigned char * correlationIdField = nullptr;   ///< 24 bytes.
    std::int32_t * feedbackField = nullptr;         ///< 32-bit signed.
    unsigned char * groupIdField = nullptr;         ///< 24 bytes.
    unsigned char * messageIdField = nullptr;       ///< 24 bytes.
};

#endif
