// SPDX-License-Identifier: MIT
// Reading and writing a generated 20 MB XML document: XMLElement next to a raw
// QXmlStreamReader/Writer loop (the floor), QDomDocument and pugixml, all on the
// same bytes in memory. The read is also timed at 2, 20 and 200 MB for its growth.
//
// `xml_bench --peak-memory <reader> <size-MB>` measures instead the peak resident set
// of reading a generated document file with one reader, in a fresh process (see
// peakMemory below).
#include <orrery/xmlelement.h>

#include <benchmark/benchmark.h>
#include <pugixml.hpp>

#include <QBuffer>
#include <QByteArray>
#include <QDomDocument>
#include <QFile>
#include <QStringView>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#if defined(__linux__)
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;
#endif

namespace {

constexpr int kMegabyte = 1024 * 1024;
// The size of the document the comparison with the peers runs on.
constexpr int kDefaultMegabytes = 20;

// About `megabytes` MB: blocks of elements with attributes and text, three levels deep,
// handed to `sink` in pieces of about 1 MB, so that a document can go to a file without
// ever being whole in memory.
template <typename Sink>
void generateDocument(int megabytes, Sink sink) {
    const qint64 size = qint64(megabytes) * kMegabyte;
    qint64 done = 0;
    QByteArray piece;
    piece.reserve(kMegabyte + 4096);
    piece += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<design version=\"1.0\">\n";
    int i = 0;
    while (done + piece.size() < size) {
        piece += "  <block id=\"b" + QByteArray::number(i) + "\" kind=\"resistor\">\n";
        for (int k = 0; k < 8; ++k) {
            piece += "    <param name=\"p" + QByteArray::number(k) + "\" units=\"Ohm\">" +
                     QByteArray::number(i * 8 + k) + ".47e3</param>\n";
        }
        piece += "    <note>Block &amp; text " + QByteArray::number(i) + "</note>\n  </block>\n";
        ++i;
        if (piece.size() >= kMegabyte) {
            sink(piece);
            done += piece.size();
            piece.truncate(0);
        }
    }
    piece += "</design>\n";
    sink(piece);
}

QByteArray generateDocument(int megabytes) {
    QByteArray out;
    out.reserve(megabytes * kMegabyte + kMegabyte);
    generateDocument(megabytes, [&out](const QByteArray& piece) { out += piece; });
    return out;
}

// Generated documents by size, each made once, outside any timed loop.
std::map<int, QByteArray>& documents() {
    static std::map<int, QByteArray> cache;
    return cache;
}

const QByteArray& document(int megabytes = kDefaultMegabytes) {
    std::map<int, QByteArray>& cache = documents();
    auto it = cache.find(megabytes);
    if (it == cache.end()) {
        it = cache.emplace(megabytes, generateDocument(megabytes)).first;
    }
    return it->second;
}

// Gives a large document's memory back once its benchmark is done.
void dropDocument(int megabytes) {
    documents().erase(megabytes);
}

void setBytes(benchmark::State& state, const QByteArray& bytes = document()) {
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * bytes.size());
}

void BM_Read_XMLElement(benchmark::State& state) {
    for (auto _ : state) {
        QXmlStreamReader reader(document());
        Orrery::XMLElement root;
        benchmark::DoNotOptimize(root.FromXMLStream(reader));
    }
    setBytes(state);
}

// The same read with the destruction of the tree left out of the timing.
void BM_Read_XMLElementWithoutDestruction(benchmark::State& state) {
    for (auto _ : state) {
        QXmlStreamReader reader(document());
        auto* root = new Orrery::XMLElement;
        benchmark::DoNotOptimize(root->FromXMLStream(reader));
        state.PauseTiming();
        delete root;
        state.ResumeTiming();
    }
    setBytes(state);
}

// What the read floor takes of a start tag: its name and each attribute's name and value.
qint64 readStartTag(const QXmlStreamReader& reader) {
    qint64 sum = reader.name().size();
    const QXmlStreamAttributes attributes = reader.attributes();
    for (const QXmlStreamAttribute& a : attributes) {
        sum += a.name().size() + a.value().size();
    }
    return sum;
}

// The floor: one pass over the tokens, reading names, attributes and text.
void BM_Read_RawStreamReader(benchmark::State& state) {
    for (auto _ : state) {
        QXmlStreamReader reader(document());
        qint64 sum = 0;
        while (!reader.atEnd()) {
            switch (reader.readNext()) {
                case QXmlStreamReader::StartElement:
                    sum += readStartTag(reader);
                    break;
                case QXmlStreamReader::Characters:
                    if (!reader.isWhitespace()) {
                        sum += reader.text().size();
                    }
                    break;
                default:
                    break;
            }
        }
        benchmark::DoNotOptimize(sum);
    }
    setBytes(state);
}

// The floor with what the element's data layout asks of any reader: the same pass, plus one
// heap object per element, linked into its parent's child list, and a string of its own
// for each element's text; names and attributes are left out. The tree is destroyed
// outside the timing, as for BM_Read_XMLElementWithoutDestruction.
void BM_Read_RawStreamReaderWithElements(benchmark::State& state) {
    for (auto _ : state) {
        QXmlStreamReader reader(document());
        auto* root = new Orrery::XMLElement;
        std::vector<Orrery::XMLElement*> open{root};
        qint64 sum = 0;
        while (!reader.atEnd()) {
            switch (reader.readNext()) {
                case QXmlStreamReader::StartElement: {
                    sum += readStartTag(reader);
                    auto* element = new Orrery::XMLElement;
                    open.back()->AddChildElement(element);
                    open.push_back(element);
                    break;
                }
                case QXmlStreamReader::EndElement:
                    open.pop_back();
                    break;
                case QXmlStreamReader::Characters:
                    if (!reader.isWhitespace()) {
                        open.back()->SetContent(QStringView(reader.text()).toString());
                    }
                    break;
                default:
                    break;
            }
        }
        benchmark::DoNotOptimize(sum);
        state.PauseTiming();
        delete root;
        state.ResumeTiming();
    }
    setBytes(state);
}

void BM_Read_QDomDocument(benchmark::State& state) {
    for (auto _ : state) {
        QDomDocument doc;
        benchmark::DoNotOptimize(doc.setContent(document()));
    }
    setBytes(state);
}

void BM_Read_Pugixml(benchmark::State& state) {
    for (auto _ : state) {
        pugi::xml_document doc;
        benchmark::DoNotOptimize(doc.load_buffer(document().constData(), document().size()));
    }
    setBytes(state);
}

QByteArray writeXMLElement(const Orrery::XMLElement& root) {
    QByteArray out;
    QBuffer buffer(&out);
    buffer.open(QIODevice::WriteOnly);
    QXmlStreamWriter writer(&buffer);
    root.ToXMLStream(writer);
    return out;
}

void BM_Write_XMLElement(benchmark::State& state) {
    QXmlStreamReader reader(document());
    Orrery::XMLElement root;
    root.FromXMLStream(reader);
    qint64 written = 0;
    for (auto _ : state) {
        const QByteArray out = writeXMLElement(root);
        benchmark::DoNotOptimize(out.size());
        written = out.size();
    }
    state.counters["output_bytes"] = static_cast<double>(written);
    setBytes(state);
}

// The floor: the same elements written straight from the reader's tokens, with the
// writer calls XMLElement makes: an element's text (empty if it has none) is written
// after its children, just before its end tag.
struct Node {
    QString name;
    QXmlStreamAttributes attributes;
    QString text;
    int depthChange;  // +1 start, -1 end, 0 text
};

std::vector<Node> tokensOf(const QByteArray& bytes) {
    std::vector<Node> tokens;
    // The text of each open element, written when the element ends.
    std::vector<QString> texts;
    QXmlStreamReader reader(bytes);
    while (!reader.atEnd()) {
        switch (reader.readNext()) {
            case QXmlStreamReader::StartElement:
                tokens.push_back({reader.name().toString(), reader.attributes(), QString(), 1});
                texts.emplace_back();
                break;
            case QXmlStreamReader::EndElement:
                tokens.push_back({QString(), {}, texts.back(), 0});
                tokens.push_back({QString(), {}, QString(), -1});
                texts.pop_back();
                break;
            case QXmlStreamReader::Characters:
                if (!reader.isWhitespace() && !texts.empty()) {
                    texts.back() += reader.text();
                }
                break;
            default:
                break;
        }
    }
    return tokens;
}

QByteArray writeTokens(const std::vector<Node>& tokens) {
    QByteArray out;
    QBuffer buffer(&out);
    buffer.open(QIODevice::WriteOnly);
    QXmlStreamWriter writer(&buffer);
    writer.setAutoFormatting(true);
    writer.writeStartDocument(QStringLiteral("1.0"));
    for (const Node& node : tokens) {
        if (node.depthChange > 0) {
            writer.writeStartElement(node.name);
            writer.writeAttributes(node.attributes);
        } else if (node.depthChange < 0) {
            writer.writeEndElement();
        } else {
            writer.writeCharacters(node.text);
        }
    }
    writer.writeEndDocument();
    return out;
}

void BM_Write_RawStreamWriter(benchmark::State& state) {
    const std::vector<Node> tokens = tokensOf(document());
    QByteArray last;
    for (auto _ : state) {
        QByteArray out = writeTokens(tokens);
        benchmark::DoNotOptimize(out.size());
        last.swap(out);
    }
    state.counters["output_bytes"] = static_cast<double>(last.size());
    setBytes(state);
    // A floor that wrote other text would not be a floor: compare once, untimed.
    QXmlStreamReader reader(document());
    Orrery::XMLElement root;
    root.FromXMLStream(reader);
    if (writeXMLElement(root) != last) {
        state.SkipWithError("the floor does not write the text XMLElement writes");
    }
}

void BM_Write_QDomDocument(benchmark::State& state) {
    QDomDocument doc;
    doc.setContent(document());
    for (auto _ : state) {
        benchmark::DoNotOptimize(doc.toByteArray(4).size());
    }
    setBytes(state);
}

struct CountingWriter : pugi::xml_writer {
    size_t size = 0;
    void write(const void*, size_t n) override { size += n; }
};

void BM_Write_Pugixml(benchmark::State& state) {
    pugi::xml_document doc;
    doc.load_buffer(document().constData(), document().size());
    for (auto _ : state) {
        CountingWriter writer;
        doc.save(writer, "    ");
        benchmark::DoNotOptimize(writer.size);
    }
    setBytes(state);
}

// The read (parse and destroy) of documents of 2, 20 and 200 MB, for its growth with the
// size. Each document is generated before the timed loop.
void BM_ReadScale_XMLElement(benchmark::State& state) {
    const int megabytes = static_cast<int>(state.range(0));
    const QByteArray& bytes = document(megabytes);
    for (auto _ : state) {
        QXmlStreamReader reader(bytes);
        Orrery::XMLElement root;
        benchmark::DoNotOptimize(root.FromXMLStream(reader));
    }
    setBytes(state, bytes);
    if (megabytes > kDefaultMegabytes) {
        dropDocument(megabytes);
    }
}

// --- peak memory ---------------------------------------------------------------
//
// `--peak-memory <reader> <size-MB>` writes a generated document of that size to a
// temporary file, piece by piece, and starts this executable again as a child that only
// reads the file with one reader and keeps what it read. A process's peak resident set
// cannot be reset, and a child that execs inherits its parent's ru_maxrss, so the child
// takes its own figures from /proc/self/status: VmRSS before the read, VmHWM (the peak of
// its own image) and VmRSS after it, with the result still held. Growth is the peak less
// the resident set before the read. One line of JSON goes to stdout.

const char* const kReaders[] = {"xmlelement", "qdom", "pugixml", "raw"};

#if defined(__linux__)

// A "VmRSS:" or "VmHWM:" figure of /proc/self/status, in kB, or -1.
long statusKilobytes(const char* field) {
    FILE* status = std::fopen("/proc/self/status", "r");
    if (status == nullptr) {
        return -1;
    }
    long value = -1;
    char line[256];
    const size_t length = std::strlen(field);
    while (std::fgets(line, sizeof line, status) != nullptr) {
        if (std::strncmp(line, field, length) == 0) {
            value = std::strtol(line + length, nullptr, 10);
            break;
        }
    }
    std::fclose(status);
    return value;
}

long peakKilobytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

// The raw floor on a file: one pass over the tokens, nothing kept.
bool readRaw(const char* path) {
    QFile file(QString::fromLocal8Bit(path));
    if (!file.open(QIODevice::ReadOnly)) {
        return false;
    }
    QXmlStreamReader reader(&file);
    qint64 sum = 0;
    while (!reader.atEnd()) {
        if (reader.readNext() == QXmlStreamReader::StartElement) {
            sum += reader.name().size() + reader.attributes().size();
        }
    }
    benchmark::DoNotOptimize(sum);
    return !reader.hasError();
}

// The child: reads the file with one reader through its own file entry point, keeps the
// result and prints "<resident before> <peak> <resident after> <ok>" in kB. The peak is
// VmHWM, the high-water mark of this process image alone: ru_maxrss would also hold the
// parent's peak, which the kernel carries over into a child that execs.
int peakMemoryChild(const std::string& reader, const char* path) {
    // Should memory run out, the kernel is to end this reader rather than another process.
    if (FILE* adjust = std::fopen("/proc/self/oom_score_adj", "w")) {
        std::fputs("1000", adjust);
        std::fclose(adjust);
    }
    const long before = statusKilobytes("VmRSS:");
    std::unique_ptr<Orrery::XMLElement> element;
    std::unique_ptr<QDomDocument> dom;
    std::unique_ptr<pugi::xml_document> pugiDocument;
    bool ok = false;
    if (reader == "xmlelement") {
        element = std::make_unique<Orrery::XMLElement>();
        ok = element->FromXMLFile(QString::fromLocal8Bit(path)) == Orrery::RESULT_OK;
    } else if (reader == "qdom") {
        QFile file(QString::fromLocal8Bit(path));
        dom = std::make_unique<QDomDocument>();
        ok = file.open(QIODevice::ReadOnly) && dom->setContent(&file);
    } else if (reader == "pugixml") {
        pugiDocument = std::make_unique<pugi::xml_document>();
        ok = static_cast<bool>(pugiDocument->load_file(path));
    } else if (reader == "raw") {
        ok = readRaw(path);
    }
    const long peak = statusKilobytes("VmHWM:");
    const long after = statusKilobytes("VmRSS:");
    std::printf("%ld %ld %ld %d\n", before, peak, after, ok ? 1 : 0);
    std::fflush(stdout);
    // Tearing down a tree of gigabytes takes seconds and changes no figure.
    std::_Exit(ok ? 0 : 1);
}

double megabytes(long kilobytes) {
    return kilobytes / 1024.0;
}

int peakMemory(const char* self, const std::string& reader, int documentMegabytes) {
    const char* tmp = std::getenv("TMPDIR");
    std::string pathText =
        std::string(tmp != nullptr && *tmp != '\0' ? tmp : "/tmp") + "/xml_bench-XXXXXX.xml";
    std::vector<char> path(pathText.begin(), pathText.end());
    path.push_back('\0');
    const int fd = mkstemps(path.data(), 4);
    if (fd < 0) {
        std::perror("xml_bench: temporary file");
        return 1;
    }
    // Written in pieces: the generator never holds the document, so this process stays
    // small and its peak, which the child's ru_maxrss inherits, stays below the child's own.
    qint64 documentBytes = 0;
    bool written = true;
    generateDocument(documentMegabytes, [&](const QByteArray& piece) {
        for (qint64 done = 0; done < piece.size() && written;) {
            const ssize_t n = write(fd, piece.constData() + done, piece.size() - done);
            written = n > 0;
            done += written ? n : 0;
        }
        documentBytes += piece.size();
    });
    close(fd);
    const long generatorPeak = peakKilobytes();

    int channel[2];
    if (!written || pipe(channel) != 0) {
        std::perror("xml_bench: document file");
        unlink(path.data());
        return 1;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, channel[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, channel[0]);
    posix_spawn_file_actions_addclose(&actions, channel[1]);
    std::string childFlag = "--peak-memory-child";
    std::string readerArgument = reader;
    char* arguments[] = {const_cast<char*>(self), childFlag.data(), readerArgument.data(),
                         path.data(), nullptr};
    pid_t child = 0;
    const int spawned =
        posix_spawn(&child, "/proc/self/exe", &actions, nullptr, arguments, environ);
    posix_spawn_file_actions_destroy(&actions);
    close(channel[1]);
    std::string output;
    char buffer[256];
    ssize_t n = 0;
    while (spawned == 0 && (n = read(channel[0], buffer, sizeof buffer)) > 0) {
        output.append(buffer, static_cast<size_t>(n));
    }
    close(channel[0]);
    int status = 0;
    rusage usage{};
    if (spawned == 0) {
        wait4(child, &status, 0, &usage);
    }
    unlink(path.data());

    long before = -1;
    long peak = -1;
    long after = -1;
    int ok = 0;
    const bool reported =
        std::sscanf(output.c_str(), "%ld %ld %ld %d", &before, &peak, &after, &ok) == 4;
    std::string error;
    if (spawned != 0) {
        error = std::string("cannot start the reader: ") + std::strerror(spawned);
    } else if (WIFSIGNALED(status)) {
        error = "reader killed by signal " + std::to_string(WTERMSIG(status));
    } else if (!reported || ok == 0) {
        error = "the document was not read";
    }
    const double documentMb = static_cast<double>(documentBytes) / kMegabyte;
    // A child that did not report (killed, say) leaves the kernel's figure: its ru_maxrss,
    // which may include this small process's peak as well.
    if (!reported || peak < 0) {
        peak = usage.ru_maxrss;
    }
    // Figures the child did not report are null; the peak stands even for a failed read.
    auto field = [](double value, bool known, const char* format) {
        char text[64] = "null";
        if (known) {
            std::snprintf(text, sizeof text, format, value);
        }
        return std::string(text);
    };
    const bool measured = reported && before >= 0 && after >= 0;
    std::printf(
        "{\"reader\": \"%s\", \"document_mb\": %d, \"document_bytes\": %lld, "
        "\"generator_peak_rss_mb\": %.1f, \"baseline_rss_mb\": %s, \"peak_rss_mb\": %.1f, "
        "\"held_rss_mb\": %s, \"growth_mb\": %s, \"growth_per_document_mb\": %s, "
        "\"ok\": %s, \"error\": \"%s\"}\n",
        reader.c_str(), documentMegabytes, static_cast<long long>(documentBytes),
        megabytes(generatorPeak), field(megabytes(before), measured, "%.1f").c_str(),
        megabytes(peak), field(megabytes(after), measured, "%.1f").c_str(),
        field(megabytes(peak - before), measured, "%.1f").c_str(),
        field(megabytes(peak - before) / documentMb, measured, "%.3f").c_str(),
        error.empty() ? "true" : "false", error.c_str());
    return error.empty() ? 0 : 1;
}

#else

int peakMemoryChild(const std::string&, const char*) {
    return 1;
}

int peakMemory(const char*, const std::string&, int) {
    std::fprintf(stderr, "xml_bench: --peak-memory needs Linux (/proc, wait4)\n");
    return 1;
}

#endif

int peakMemoryUsage() {
    std::fprintf(stderr, "usage: xml_bench --peak-memory xmlelement|qdom|pugixml|raw <size-MB>\n");
    return 2;
}

}  // namespace

BENCHMARK(BM_Read_XMLElement)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_Read_XMLElementWithoutDestruction)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_Read_RawStreamReader)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_Read_RawStreamReaderWithElements)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_Read_QDomDocument)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_Read_Pugixml)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_Write_XMLElement)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_Write_RawStreamWriter)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_Write_QDomDocument)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_Write_Pugixml)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_ReadScale_XMLElement)
    ->Arg(2)
    ->Arg(kDefaultMegabytes)
    ->Unit(benchmark::kMillisecond)
    ->MinTime(2.0);
// 200 MB: one pass; a pass takes seconds and the tree gigabytes.
BENCHMARK(BM_ReadScale_XMLElement)->Arg(200)->Unit(benchmark::kMillisecond)->Iterations(1);

int main(int argc, char** argv) {
    if (argc >= 2 && std::strcmp(argv[1], "--peak-memory-child") == 0) {
        return argc == 4 ? peakMemoryChild(argv[2], argv[3]) : 2;
    }
    if (argc >= 2 && std::strcmp(argv[1], "--peak-memory") == 0) {
        if (argc != 4) {
            return peakMemoryUsage();
        }
        bool known = false;
        for (const char* reader : kReaders) {
            known = known || std::strcmp(reader, argv[2]) == 0;
        }
        const int size = std::atoi(argv[3]);
        if (!known || size <= 0 || size > 1024) {
            return peakMemoryUsage();
        }
        return peakMemory(argv[0], argv[2], size);
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
