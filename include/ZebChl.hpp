#ifndef ZEBCHL_HPP
#define ZEBCHL_HPP

#include "ZebStr.hpp"

/// The definition of a client channel: 1888 bytes. Integers are 32-bit signed, low byte first; text
/// fields have no terminator. The fields named by their offset are carried by this library and read
/// by nothing in it, and nothing is owned behind their pointers.
struct ZBCD {
    char channelName[20];                    ///< Name of the channel.
    std::int32_t word20;                     ///< Default 8.
    std::int32_t word24;                     ///< Default 1.
    std::int32_t transportType;              ///< Transport type, default 1.
    char text32[64];                         ///< Default zero bytes.
    char text96[48];                         ///< Default zero bytes.
    char text144[48];                        ///< Default zero bytes.
    char connectionNameHead[20];             ///< First 20 bytes of that name; never read here.
    char text212[20];                        ///< Default zero bytes.
    char modeName[8];                        ///< Mode name.
    char transactionProgramName[64];         ///< Transaction program name.
    std::int32_t word304;                    ///< Default 50.
    std::int32_t word308;                    ///< Default 6000.
    std::int32_t word312;                    ///< Default 10.
    std::int32_t word316;                    ///< Default 60.
    std::int32_t word320;                    ///< Default 999999999.
    std::int32_t word324;                    ///< Default 1200.
    char securityExitName[128];              ///< Name of the security exit.
    char text456[128];                       ///< Default zero bytes.
    char text584[128];                       ///< Default zero bytes.
    char text712[128];                       ///< Default zero bytes.
    std::int32_t word840;                    ///< Default 999999999.
    std::int32_t maximumMessageLength;       ///< Maximum message length, default 4194304.
    std::int32_t word848;                    ///< Default 1.
    std::int32_t word852;                    ///< Default 0.
    char securityUserData[32];               ///< User data of the security exit.
    char text888[32];                        ///< Default zero bytes.
    char text920[32];                        ///< Default zero bytes.
    char text952[32];                        ///< Default zero bytes.
    char userId[12];                         ///< User id.
    char password[12];                       ///< Password.
    char text1008[12];                       ///< Default zero bytes.
    std::int32_t word1020;                   ///< Default 1.
    char connectionName[264];                ///< Connection name.
    char text1288[12];                       ///< Default zero bytes.
    char text1300[12];                       ///< Default zero bytes.
    char text1312[128];                      ///< Default zero bytes.
    char text1440[32];                       ///< Default zero bytes.
    std::int32_t word1472;                   ///< Default 10.
    std::int32_t word1476;                   ///< Default 1000.
    std::int32_t heartBeatInterval;          ///< Heart beat interval, default 300.
    std::int32_t word1484;                   ///< Default 0.
    std::int32_t word1488;                   ///< Default 2.
    std::int32_t structureLength;            ///< Length of the record: 1888.
    std::int32_t exitNameLength;             ///< Width of a slot of exit names: 128.
    std::int32_t exitUserDataLength;         ///< Width of a slot of exit user data: 32.
    std::int32_t word1504;                   ///< Default 0.
    std::int32_t sendExitCount;              ///< Slots in the two send arrays.
    std::int32_t receiveExitCount;           ///< Slots in the two receive arrays.
    char gap1516[4];                         ///< Up to the next pointer.
    void * pointer1520;                      ///< Default null.
    void * pointer1528;                      ///< Default null.
    char * sendExitNameArray;                ///< Owned: send exit names.
    char * sendUserDataArray;                ///< Owned: send exit user data.
    char * receiveExitNameArray;             ///< Owned: receive exit names.
    char * receiveUserDataArray;             ///< Owned: receive exit user data.
    void * pointer1568;                      ///< Default null.
    std::int32_t word1576;                   ///< Default 0.
    std::int32_t word1580;                   ///< Default 0.
    std::int32_t word1584;                   ///< Default 0.
    std::int32_t word1588;                   ///< Default 0.
    void * pointer1592;                      ///< Default null.
    void * pointer1600;                      ///< Default null.
    unsigned char bytes1608[40];             ///< Default zero bytes.
    unsigned char bytes1648[40];             ///< Default zero bytes.
    char sslCipherSpecification[32];         ///< Cipher specification.
    char * sslPeerNamePointer;               ///< Owned: peer name, no terminator.
    std::int32_t sslPeerNameLength;          ///< Bytes in the peer name.
    std::int32_t sslClientAuthentication;    ///< Client authentication, default 0.
    std::int32_t keepAliveInterval;          ///< Keep-alive interval, default -1.
    char localAddress[48];                   ///< Local address.
    std::int32_t batchHeartBeat;             ///< Batch heart beat, default 0.
    std::int32_t headerCompressionList[2];   ///< Ends at the first -1.
    std::int32_t messageCompressionList[16]; ///< Ends at the first -1.
    std::int32_t word1864;                   ///< Default 0.
    std::int32_t word1868;                   ///< Default 0.
    std::int32_t word1872;                   ///< Default 50.
    std::int32_t word1876;                   ///< Default 0.
    std::int32_t word1880;                   ///< Default 0.
    char gap1884[4];                         ///< Up to a multiple of 8.
};

/// The definition of a client channel: a record, the lists of exits that hang on it, and the lists
/// of compression values in it. The class connects nothing; a derived class hands the record on.
///
///     ZebChl channel;
///     channel.setChannelName("ORDERS.CLIENT");
///     channel.setConnectionName("harbour.example.com:7400");
///     const char * exits[] = {"audit(Sent)", "pack(Deflate)"};
///     const char * data[] = {"level=2"};
///     channel.setSendExitNames(2, exits);      // the names first: they empty all user data
///     channel.setSendUserData(1, data);
///
/// Text fields are cut or filled up with zero bytes when set, and null empties them. They are read
/// up to the first zero byte, without trailing blanks. Every text writer can set these codes:
/// - ZBRC_DATA_TRUNCATED, a warning, result true: the field has the beginning of the text;
/// - ZBRC_SOURCE_BUFFER_ERROR, where the text's first byte may not be read, and
///   ZBRC_TARGET_BUFFER_ERROR, where the field may not be written: the field has its old text.
///
/// Integer writers test nothing and always return true.
///
/// Exits. Each direction has one list of exits: a name of up to 128 bytes and user data of up to 32
/// for each. The send and the receive operations are the same in everything else. Their texts are
/// filled up and cut as fields are, but read with their trailing blanks, and they must not lie in
/// the channel's own arrays. Names are looked into before any is copied, and only where they can be
/// read.
///
/// Ownership. The channel owns its record, at one address for the channel's life, and behind the
/// record the peer name and, for each list that is not empty, two arrays. Nothing is shared between
/// channels. All these blocks are allocated plainly: where one can't be had, a std::bad_alloc
/// reaches the caller. Then a constructor leaves no object, setSslPeerName the old name, a setter
/// of exit names an empty list, and an assignment a valid channel that has everything of the source
/// but the lists and the peer name that could not be had; these are empty.
class ZEB_EXPORT ZebChl : public ZebErr {
public:
    /// The default record, no exits, no compression values, no peer name.
    ZebChl();
    /// As default construction and assignment.
    ZebChl(const ZebChl & source);
    ~ZebChl() override;
    /// Takes the source's codes and record, and copies of its lists and peer name. On itself,
    /// nothing.
    void operator=(const ZebChl & source);

    /// `channelName`: up to 20 characters.
    ZebStr channelName() const;
    /// Sets `channelName`: 20 bytes.
    bool setChannelName(const char * name);
    /// `connectionName`: up to 264 characters.
    ZebStr connectionName() const;
    /// Sets `connectionNameHead`, 20 bytes, and then `connectionName`, 264 bytes. So a name of more
    /// than 20 characters leaves the warning, also where all of it is kept. After a failure on the
    /// first field the second is untouched.
    bool setConnectionName(const char * name);
    /// `localAddress`: up to 48 characters.
    ZebStr localAddress() const;
    /// Sets `localAddress`: 48 bytes.
    bool setLocalAddress(const char * address);
    /// `modeName`: up to 8 characters.
    ZebStr modeName() const;
    /// Sets `modeName`: 8 bytes.
    bool setModeName(const char * name);
    /// `password`: up to 12 characters.
    ZebStr password() const;
    /// Sets `password`: 12 bytes.
    bool setPassword(const char * password);
    /// `securityExitName`: up to 128 characters.
    ZebStr securityExitName() const;
    /// Sets `securityExitName`: 128 bytes.
    bool setSecurityExitName(const char * name);
    /// `securityUserData`: up to 32 characters.
    ZebStr securityUserData() const;
    /// Sets `securityUserData`: 32 bytes.
    bool setSecurityUserData(const char * data);
    /// `sslCipherSpecification`: up to 32 characters.
    ZebStr sslCipherSpecification() const;
    /// Sets `sslCipherSpecification`: 32 bytes.
    bool setSslCipherSpecification(const char * specification);
    /// `transactionProgramName`: up to 64 characters.
    ZebStr transactionProgramName() const;
    /// Sets `transactionProgramName`: 64 bytes.
    bool setTransactionProgramName(const char * name);
    /// `userId`: up to 12 characters.
    ZebStr userId() const;
    /// Sets `userId`: 12 bytes.
    bool setUserId(const char * userId);
    /// The peer name behind `sslPeerNamePointer`, of any length, without trailing blanks; empty
    /// where there is none.
    ZebStr sslPeerName() const;
    /// Sets the peer name, in a new block that has exactly the length of the text, and
    /// `sslPeerNameLength`. Null empties it: no block, length 0. A text beyond the 32 bits of the
    /// length is cut, with the warning.
    bool setSslPeerName(const char * name);

    /// `batchHeartBeat`; 32 bits, default 0.
    std::int32_t batchHeartBeat() const;
    /// Sets `batchHeartBeat`.
    bool setBatchHeartBeat(std::int32_t interval);
    /// `heartBeatInterval`; 32 bits, default 300.
    std::int32_t heartBeatInterval() const;
    /// Sets `heartBeatInterval`.
    bool setHeartBeatInterval(std::int32_t interval);
    /// `keepAliveInterval`; 32 bits, default -1.
    std::int32_t keepAliveInterval() const;
    /// Sets `keepAliveInterval`.
    bool setKeepAliveInterval(std::int32_t interval);
    /// `maximumMessageLength`; 32 bits, default 4194304.
    std::int32_t maximumMessageLength() const;
    /// Sets `maximumMessageLength`.
    bool setMaximumMessageLength(std::int32_t length);
    /// `sslClientAuthentication`; 32 bits, default 0.
    std::int32_t sslClientAuthentication() const;
    /// Sets `sslClientAuthentication`.
    bool setSslClientAuthentication(std::int32_t authentication);
    /// `transportType`; 32 bits, default 1.
    std::int32_t transportType() const;
    /// Sets `transportType`.
    bool setTransportType(std::int32_t type);

    /// `receiveExitCount`: how many exits the list has.
    std::size_t receiveExitCount() const;
    /// The first exit's name, empty where there is none. Codes: those of ZebStr::set.
    ZebStr receiveExitName();
    /// The first exit's user data, empty where there is none. Codes: those of ZebStr::set.
    ZebStr receiveUserData();
    /// Sets `strings[i]` to the name of exit i for each i below `count`, or empties it where there
    /// is no such exit; null entries are passed over, and a null array does nothing. A string that
    /// can't be set gives its codes to the channel and makes the result false; the others are still
    /// set. Codes: those of ZebStr::set.
    bool receiveExitNames(std::size_t count, ZebStr * const strings[]);
    /// As receiveExitNames, with the user data.
    bool receiveUserData(std::size_t count, ZebStr * const strings[]);
    /// Makes this the only exit; null or an empty text empties the list. Codes: as
    /// setReceiveExitNames, but no failure for an empty text.
    bool setReceiveExitName(const char * name);
    /// Makes these `count` names the list, and empties all user data. 0 empties the list. Codes,
    /// without a trace and with nothing changed: ZBRC_NULL_POINTER for a null array or entry,
    /// ZBRC_DATA_LENGTH_ERROR for an empty entry, whichever comes first, or for a count beyond 32
    /// bits. ZBRC_DATA_TRUNCATED, a warning, for a name cut to 128 bytes. ZBRC_SOURCE_BUFFER_ERROR
    /// ends the operation at that name: the list has the new count and the names before it.
    bool setReceiveExitNames(std::size_t count, const char * const names[]);
    /// As with texts.
    bool setReceiveExitNames(std::size_t count, const ZebStr * const names[]);
    /// As with a null array of texts.
    bool setReceiveExitNames(std::size_t count, std::nullptr_t) {
        return setReceiveExitNames(count, static_cast<const char * const *>(nullptr));
    }
    /// As setReceiveUserData with a `count` of 1.
    bool setReceiveUserData(const char * data);
    /// Sets the user data of the first `count` exits and empties those of the others; a null entry
    /// or array empties as well. The names stay. Codes: ZBRC_USER_DATA_COUNT_ERROR, without a trace
    /// and with nothing changed, where `count` is greater than the count of exits.
    /// ZBRC_DATA_TRUNCATED, a warning, for data cut to 32 bytes. ZBRC_SOURCE_BUFFER_ERROR ends the
    /// operation at that entry.
    bool setReceiveUserData(std::size_t count, const char * const data[]);
    /// As with texts.
    bool setReceiveUserData(std::size_t count, const ZebStr * const data[]);
    /// As with a null array of texts.
    bool setReceiveUserData(std::size_t count, std::nullptr_t) {
        return setReceiveUserData(count, static_cast<const char * const *>(nullptr));
    }

    /// `sendExitCount`: how many exits the list has.
    std::size_t sendExitCount() const;
    /// As receiveExitName.
    ZebStr sendExitName();
    /// As receiveUserData.
    ZebStr sendUserData();
    /// As receiveExitNames.
    bool sendExitNames(std::size_t count, ZebStr * const strings[]);
    /// As receiveUserData.
    bool sendUserData(std::size_t count, ZebStr * const strings[]);
    /// As setReceiveExitName.
    bool setSendExitName(const char * name);
    /// As setReceiveExitNames.
    bool setSendExitNames(std::size_t count, const char * const names[]);
    /// As with texts.
    bool setSendExitNames(std::size_t count, const ZebStr * const names[]);
    /// As with a null array of texts.
    bool setSendExitNames(std::size_t count, std::nullptr_t) {
        return setSendExitNames(count, static_cast<const char * const *>(nullptr));
    }
    /// As setReceiveUserData.
    bool setSendUserData(const char * data);
    /// As setReceiveUserData.
    bool setSendUserData(std::size_t count, const char * const data[]);
    /// As with texts.
    bool setSendUserData(std::size_t count, const ZebStr * const data[]);
    /// As with a null array of texts.
    bool setSendUserData(std::size_t count, std::nullptr_t) {
        return setSendUserData(count, static_cast<const char * const *>(nullptr));
    }

    /// How many entries of `headerCompressionList` stand before the first -1; 2 at most.
    std::size_t headerCompressionCount() const;
    /// Copies the entries of `headerCompressionList` to `list`, the -1 entries as well: at most
    /// `count`, at most 2. A null array is left alone. Always true.
    bool headerCompression(std::size_t count, std::int32_t list[]) const;
    /// Makes the first `count` values at `list`, at most 2, the entries of `headerCompressionList`,
    /// and -1 those behind them. A null array with a count changes nothing. Always true.
    bool setHeaderCompression(std::size_t count, const std::int32_t list[]);
    /// How many entries of `messageCompressionList` stand before the first -1; 16 at most.
    std::size_t messageCompressionCount() const;
    /// As headerCompression, for `messageCompressionList` with its 16 entries.
    bool messageCompression(std::size_t count, std::int32_t list[]) const;
    /// As setHeaderCompression, for `messageCompressionList` with its 16 entries.
    bool setMessageCompression(std::size_t count, const std::int32_t list[]);

protected:
    /// The record, at the same address for the channel's life; the channel stays its owner. Who
    /// writes to it keeps each pointer marked as owned in step with its count or length and the
    /// widths; they come from `new char[]`.
    ::ZBCD * ZBCD() const;

private:
    ::ZBCD * record_;
};

#endif
