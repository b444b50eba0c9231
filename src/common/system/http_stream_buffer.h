/**
 * The buffer between a connection and a standard stream.
 */
#pragma once

#include "system/http_server_connection.h"

#include <streambuf>

/**
 * Reads a part of a known length from a connection, or writes to it, in blocks of 100,000 bytes.
 *
 * One block is in memory at a time, from the first use on; what a forward seek skips is kept beside
 * it. The connection is shared, so the buffer may outlive the object that made it. A buffer serves
 * one direction: once it has a part to read, it takes no characters. It belongs to one thread at a
 * time.
 *
 * Operations throw CHttpException as the connection does; a stream turns that into badbit. What the
 * destructor cannot send is traced and lost.
 */
class CHttpStreamBuffer : public std::streambuf {
public:
    explicit CHttpStreamBuffer(std::shared_ptr<CHttpServerConnection> serverConnection);
    ~CHttpStreamBuffer() override;
    CHttpStreamBuffer(const CHttpStreamBuffer&) = delete;
    CHttpStreamBuffer& operator=(const CHttpStreamBuffer&) = delete;

    /** Makes the whole buffer the area that is written to. True. */
    bool ResetWriteArea();

    /** Begins a part that is `length` bytes long and followed by a boundary. True. */
    bool Reset(const CISOString& partBoundary, uint64_t length);

    /** How many bytes of the part have not been taken from the connection yet. */
    uint64_t GetRemaining() const { return contentLength - received; }

    /**
     * Whether the boundary behind the part has been read, or the data ended within the part. When
     * this is false behind the last byte, FinishPart reads the boundary, or tells what is wrong.
     */
    bool IsFinished() const { return finished; }

    /**
     * Reads up to the end of the headers that follow the next boundary; the part is finished then.
     *
     * Kept: reading does this itself, a failure aside, when the block that completes the part was
     * asked for with less than 100,000 bytes to go. Behind a part that is empty or ends in a full
     * block, the boundary is left in the connection, where readers look for it.
     *
     * Throws CHttpException "Invalid multipart data" when there is no boundary.
     */
    void FinishPart();

protected:
    /**
     * Positions of input count from the beginning of the part. One before the window that is in
     * memory cannot be reached, nor one behind the part; one further on is read up to. Positions of
     * output count from the beginning of the window, which is all that can be reached, whereas an
     * offset from the beginning counts from the first byte sent. -1 when a position cannot be
     * reached or not exactly one direction is asked for; nothing has moved then.
     */
    pos_type seekoff(off_type offset, std::ios_base::seekdir direction,
                     std::ios_base::openmode which) override;
    pos_type seekpos(pos_type position, std::ios_base::openmode which) override;

    /** Sends what was written. 0. */
    int sync() override;

    int_type underflow() override;

    /** Takes a character; the end-of-file is answered with 0. */
    int_type overflow(int_type character) override;

private:
    bool Receive();
    void CloseReceived();
    void SetWindow(size_t position);
    pos_type SeekInput(off_type offset, std::ios_base::seekdir direction);
    pos_type MoveInput(off_type target);
    pos_type ReceiveUpTo(uint64_t target);
    pos_type SeekOutput(off_type offset, std::ios_base::seekdir direction);

    std::shared_ptr<CHttpServerConnection> connection;
    CISOString boundary;
    CByteZone buffer;
    uint64_t blockSize;
    uint64_t contentLength = 0;
    uint64_t received = 0;
    uint64_t sent = 0;
    bool lastBlock = false;
    bool finished = false;

    // Made on first use: a peer decides how many buffers there are.
    bool made = false;
};
