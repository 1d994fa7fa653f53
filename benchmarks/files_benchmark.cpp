// Files of 100,000 records of 128 bytes, beside bare system calls and the files of the peers;
// shared records beside rows of a database; a mapped file beside a bare mapping.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>
#ifdef UTILITIES_HAS_POCO
#include <Poco/FileStream.h>
#endif
#ifdef UTILITIES_HAS_QT
#include <QFile>
#endif
#ifdef UTILITIES_HAS_SQLITE
#include <sqlite3.h>
#endif

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include "utilities/files/binaryfile.h"
#include "utilities/files/mappedfile.h"

namespace {

constexpr unsigned int RECORDS = 100000;
constexpr unsigned int SIZE = 128;
constexpr std::size_t MAPPED_SIZE = 64 << 20;

std::string Path(const char* name) {
    static const std::string directory = [] {
        std::string path = (std::filesystem::temp_directory_path() / "filesXXXXXX").string();
        if (mkdtemp(path.data()) == nullptr)
            std::abort();
        std::atexit(
            [] { std::filesystem::remove_all(std::filesystem::path(Path("")).parent_path()); });
        return path;
    }();
    return directory + "/" + name;
}

/// A file with all records.
std::string RecordsPath() {
    static const std::string path = [] {
        BinaryFile file(SIZE, 0);
        file.openFile(Path("records"), BinaryFile::BF_CREATE, BinaryFile::BF_DENYRW, 0);
        for (unsigned int i = 0; i < RECORDS; ++i)
            file.writeCurrent();
        return Path("records");
    }();
    return path;
}

void Check(bool done) {
    if (!done)
        std::abort();
}

template <BinaryFile::E_BF_SHAREMODE SHARE>
struct OwnFile {
    OwnFile() { Check(file.openFile(RecordsPath(), BinaryFile::BF_UPDATE, SHARE, 0) == 0); }
    const void* Read(unsigned int record) {
        Check(file.readFile(record + 1) == int{SIZE});
        return file.getRecordBuffer();
    }
    void Write(unsigned int record, const char* bytes) {
        std::memcpy(file.getRecordBuffer(), bytes, SIZE);
        Check(file.writeFile(record + 1) == int{SIZE});
    }
    BinaryFile file{SIZE, 0};
};

struct BareFile {
    BareFile() : file(open(RecordsPath().c_str(), O_RDWR | O_CLOEXEC)) {}
    ~BareFile() { close(file); }
    const void* Read(unsigned int record) {
        lseek(file, off_t{record} * SIZE, SEEK_SET);
        Check(read(file, buffer, SIZE) == SIZE);
        return buffer;
    }
    void Write(unsigned int record, const char* bytes) {
        lseek(file, off_t{record} * SIZE, SEEK_SET);
        Check(write(file, bytes, SIZE) == SIZE);
    }
    int file;
    char buffer[SIZE];
};

/// A file as a stream of the standard library or of Poco.
template <class Stream>
struct StreamFile {
    StreamFile() : file(RecordsPath(), std::ios::in | std::ios::out) {}
    const void* Read(unsigned int record) {
        file.seekg(std::streamoff{record} * SIZE);
        Check(static_cast<bool>(file.read(buffer, SIZE)));
        return buffer;
    }
    void Write(unsigned int record, const char* bytes) {
        file.seekp(std::streamoff{record} * SIZE);
        Check(static_cast<bool>(file.write(bytes, SIZE)));
    }
    Stream file;
    char buffer[SIZE];
};

struct CFile {
    CFile() : file(std::fopen(RecordsPath().c_str(), "r+b")) {}
    ~CFile() { std::fclose(file); }
    const void* Read(unsigned int record) {
        std::fseek(file, long{record} * SIZE, SEEK_SET);
        Check(std::fread(buffer, SIZE, 1, file) == 1);
        return buffer;
    }
    void Write(unsigned int record, const char* bytes) {
        std::fseek(file, long{record} * SIZE, SEEK_SET);
        Check(std::fwrite(bytes, SIZE, 1, file) == 1);
    }
    std::FILE* file;
    char buffer[SIZE];
};

#ifdef UTILITIES_HAS_QT
struct QtFile {
    QtFile() : file(QString::fromStdString(RecordsPath())) { file.open(QIODevice::ReadWrite); }
    const void* Read(unsigned int record) {
        file.seek(qint64{record} * SIZE);
        Check(file.read(buffer, SIZE) == SIZE);
        return buffer;
    }
    void Write(unsigned int record, const char* bytes) {
        file.seek(qint64{record} * SIZE);
        Check(file.write(bytes, SIZE) == SIZE);
    }
    QFile file;
    char buffer[SIZE];
};
#endif

#ifdef UTILITIES_HAS_SQLITE
/// A transaction for each row, without waiting for the disk.
struct SqliteFile {
    SqliteFile() {
        const std::string path = Path("database");
        std::filesystem::remove(path);
        Check(sqlite3_open(path.c_str(), &database) == SQLITE_OK);
        Run("pragma synchronous=off; pragma journal_mode=wal; begin;"
            "create table records(id integer primary key, bytes blob)");
        sqlite3_prepare_v2(database, "insert or replace into records values(?, ?)", -1, &change,
                           nullptr);
        const char bytes[SIZE] = {};
        for (unsigned int i = 0; i < RECORDS; ++i)
            Write(i, bytes);
        Run("commit");
        sqlite3_prepare_v2(database, "select bytes from records where id = ?", -1, &query, nullptr);
    }
    ~SqliteFile() {
        sqlite3_finalize(change);
        sqlite3_finalize(query);
        sqlite3_close(database);
    }
    void Run(const char* statement) {
        Check(sqlite3_exec(database, statement, nullptr, nullptr, nullptr) == SQLITE_OK);
    }
    const void* Read(unsigned int record) {
        sqlite3_reset(query);
        sqlite3_bind_int(query, 1, static_cast<int>(record));
        Check(sqlite3_step(query) == SQLITE_ROW);
        std::memcpy(buffer, sqlite3_column_blob(query, 0), SIZE);
        sqlite3_reset(query);
        return buffer;
    }
    void Write(unsigned int record, const char* bytes) {
        sqlite3_bind_int(change, 1, static_cast<int>(record));
        sqlite3_bind_blob(change, 2, bytes, SIZE, SQLITE_STATIC);
        Check(sqlite3_step(change) == SQLITE_DONE);
        sqlite3_reset(change);
    }
    sqlite3* database = nullptr;
    sqlite3_stmt* change = nullptr;
    sqlite3_stmt* query = nullptr;
    char buffer[SIZE];
};
#endif

/// The numbers of all records, each once: in order, or so far apart that no read-ahead helps.
class Order {
public:
    // The large step has no factor in common with the number of records.
    explicit Order(bool inOrder) : m_Step(inOrder ? 1 : 37633) {}
    unsigned int Next() { return m_Record = (m_Record + m_Step) % RECORDS; }

private:
    unsigned int m_Step;
    unsigned int m_Record = 0;
};

template <class File>
void Read(benchmark::State& state, bool inOrder) {
    File file;
    Order order(inOrder);
    for (auto _ : state)
        benchmark::DoNotOptimize(file.Read(order.Next()));
}

template <class File>
void Write(benchmark::State& state, bool inOrder) {
    File file;
    Order order(inOrder);
    char bytes[SIZE] = {};
    for (auto _ : state)
        file.Write(order.Next(), bytes);
}

template <class File>
void ReadAndWrite(benchmark::State& state) {
    File file;
    Order order(false);
    char bytes[SIZE] = {};
    for (auto _ : state) {
        const unsigned int record = order.Next();
        std::memcpy(bytes, file.Read(record), SIZE);
        ++bytes[0];
        file.Write(record, bytes);
    }
}

template <class File>
void MeasureRecords(const std::string& peer) {
    const auto measure = [&](const char* row, auto function, bool inOrder) {
        benchmark::RegisterBenchmark((row + peer).c_str(),
                                     [=](benchmark::State& state) { function(state, inOrder); });
    };
    measure("Records/written in order/", Write<File>, true);
    measure("Records/read in order/", Read<File>, true);
    measure("Records/read at random/", Read<File>, false);
}

template <class File>
void MeasureShared(const std::string& peer) {
    benchmark::RegisterBenchmark(("Shared/read and written/" + peer).c_str(), ReadAndWrite<File>);
    benchmark::RegisterBenchmark(("Shared/written/" + peer).c_str(),
                                 [](benchmark::State& state) { Write<File>(state, false); });
}

std::uint64_t Sum(const void* bytes) {
    const auto* const words = static_cast<const std::uint64_t*>(bytes);
    return std::accumulate(words, words + MAPPED_SIZE / sizeof *words, std::uint64_t{0});
}

std::string MappedPath() {
    static const std::string path = [] {
        MappedFile file(Path("mapped").c_str(), 2, MAPPED_SIZE);
        std::memset(file.getAddr(), 1, MAPPED_SIZE);
        return Path("mapped");
    }();
    return path;
}

void SumMapped(benchmark::State& state) {
    const std::string path = MappedPath();
    for (auto _ : state) {
        MappedFile file(path.c_str(), 0, 0);
        benchmark::DoNotOptimize(Sum(file.getAddr()));
    }
}

void SumBare(benchmark::State& state) {
    const std::string path = MappedPath();
    for (auto _ : state) {
        const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        void* const bytes = mmap(nullptr, MAPPED_SIZE, PROT_READ, MAP_SHARED, file, 0);
        benchmark::DoNotOptimize(Sum(bytes));
        munmap(bytes, MAPPED_SIZE);
        close(file);
    }
}

const bool REGISTERED = [] {
    MeasureRecords<OwnFile<BinaryFile::BF_DENYRW>>("Utilities");
    MeasureRecords<BareFile>("lseek and read");
    MeasureRecords<StreamFile<std::fstream>>("std::fstream");
    MeasureRecords<CFile>("stdio");
    MeasureShared<OwnFile<BinaryFile::BF_DENYNO>>("Utilities");
#ifdef UTILITIES_HAS_POCO
    MeasureRecords<StreamFile<Poco::FileStream>>("Poco");
#endif
#ifdef UTILITIES_HAS_QT
    MeasureRecords<QtFile>("Qt");
#endif
#ifdef UTILITIES_HAS_SQLITE
    MeasureShared<SqliteFile>("SQLite");
#endif
    benchmark::RegisterBenchmark("Mapped/sum of 64 MiB/Utilities", SumMapped);
    benchmark::RegisterBenchmark("Mapped/sum of 64 MiB/mmap", SumBare);
    return true;
}();

}  // namespace
