// What ranks, the processes that share the rows of an array, do together: by MPI, or for one
// process without it.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#ifdef WITH_MPI
#    define OMPI_SKIP_MPICXX
#    include <mpi.h>

#    include <vector>

struct Ranks {
    static inline int rank = 0, count = 1;
    std::vector<MPI_Request> messages;

    Ranks() {
        setenv("HWLOC_HIDE_ERRORS", "2", 0);  // in a container without /sys MPI's hwloc tells of it at each start
        MPI_Init_thread(nullptr, nullptr, MPI_THREAD_FUNNELED, &rank);
        MPI_Comm_rank(MPI_COMM_WORLD, &rank);
        MPI_Comm_size(MPI_COMM_WORLD, &count);
    }
    ~Ranks() { MPI_Finalize(); }
    /// Ends all other ranks, too, from wherever it is called before the end.
    static void abort() {
        int over = 0;
        MPI_Finalized(&over);
        if (count > 1 && !over) MPI_Abort(MPI_COMM_WORLD, 1);
    }
    /// Rank 0's bytes to all.
    void share(void* data, int bytes) { MPI_Bcast(data, bytes, MPI_BYTE, 0, MPI_COMM_WORLD); }
    int least(int x) {
        MPI_Allreduce(MPI_IN_PLACE, &x, 1, MPI_INT, MPI_MIN, MPI_COMM_WORLD);
        return x;
    }
    /// Takes what rank `from` has to rank 0.
    void pass(int from, void* data, std::int64_t bytes) {
        if (from == 0) return;
        if (rank == from) MPI_Send(data, int(bytes), MPI_BYTE, 0, 0, MPI_COMM_WORLD);
        if (rank == 0) MPI_Recv(data, int(bytes), MPI_BYTE, from, 0, MPI_COMM_WORLD, MPI_STATUS_IGNORE);
    }
    /// Fills the rows `above` and `below` this rank's from the neighbours, the last and first of all
    /// being neighbours; sends its own `first` and `last`. Until the exchange is finished, all four
    /// belong to the messages.
    void startExchange(float* above, const float* first, const float* last, float* below, int size) {
        const int before = (rank + count - 1) % count, after = (rank + 1) % count;
        // Both neighbours may be the same rank: the tag tells which row it is.
        const int up = int(messages.size()), down = up + 1;
        messages.resize(messages.size() + 4);
        MPI_Request* message = &messages[up];
        MPI_Irecv(above, size, MPI_FLOAT, before, down, MPI_COMM_WORLD, message);
        MPI_Irecv(below, size, MPI_FLOAT, after, up, MPI_COMM_WORLD, message + 1);
        MPI_Isend(first, size, MPI_FLOAT, before, up, MPI_COMM_WORLD, message + 2);
        MPI_Isend(last, size, MPI_FLOAT, after, down, MPI_COMM_WORLD, message + 3);
    }
    void finishExchange() {
        MPI_Waitall(int(messages.size()), messages.data(), MPI_STATUSES_IGNORE);
        messages.clear();
    }
};
#else
struct Ranks {
    static inline int rank = 0, count = 1;
    static void abort() {}
    void share(void*, int) {}
    int least(int x) { return x; }
    void pass(int, void*, std::int64_t) {}
    void startExchange(float* above, const float* first, const float* last, float* below, int size) {
        std::copy_n(last, size, above);
        std::copy_n(first, size, below);
    }
    void finishExchange() {}
};
#endif
