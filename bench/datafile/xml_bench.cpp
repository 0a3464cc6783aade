// SPDX-License-Identifier: MIT
// Reading and writing a generated 20 MB XML document: XMLElement next to a raw
// QXmlStreamReader/Writer loop (the floor), QDomDocument and pugixml, all on the
// same bytes in memory.
#include <orrery/xmlelement.h>

#include <benchmark/benchmark.h>
#include <pugixml.hpp>

#include <QBuffer>
#include <QByteArray>
#include <QDomDocument>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

namespace {

// About 20 MB: blocks of elements with attributes and text, three levels deep.
const QByteArray& document() {
    static const QByteArray bytes = [] {
        QByteArray out;
        out.reserve(21 * 1024 * 1024);
        out += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<design version=\"1.0\">\n";
        int i = 0;
        while (out.size() < 20 * 1024 * 1024) {
            out += "  <block id=\"b" + QByteArray::number(i) + "\" kind=\"resistor\">\n";
            for (int k = 0; k < 8; ++k) {
                out += "    <param name=\"p" + QByteArray::number(k) + "\" units=\"Ohm\">" +
                       QByteArray::number(i * 8 + k) + ".47e3</param>\n";
            }
            out += "    <note>Block &amp; text " + QByteArray::number(i) + "</note>\n  </block>\n";
            ++i;
        }
        out += "</design>\n";
        return out;
    }();
    return bytes;
}

void setBytes(benchmark::State& state) {
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * document().size());
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

// The floor: one pass over the tokens, reading names, attributes and text.
void BM_Read_RawStreamReader(benchmark::State& state) {
    for (auto _ : state) {
        QXmlStreamReader reader(document());
        qint64 sum = 0;
        while (!reader.atEnd()) {
            switch (reader.readNext()) {
                case QXmlStreamReader::StartElement: {
                    sum += reader.name().size();
                    const QXmlStreamAttributes attributes = reader.attributes();
                    for (const QXmlStreamAttribute& a : attributes) {
                        sum += a.name().size() + a.value().size();
                    }
                    break;
                }
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

void BM_Write_XMLElement(benchmark::State& state) {
    QXmlStreamReader reader(document());
    Orrery::XMLElement root;
    root.FromXMLStream(reader);
    for (auto _ : state) {
        QByteArray out;
        QBuffer buffer(&out);
        buffer.open(QIODevice::WriteOnly);
        QXmlStreamWriter writer(&buffer);
        root.ToXMLStream(writer);
        benchmark::DoNotOptimize(out.size());
    }
    setBytes(state);
}

// The floor: the same elements written straight from the reader's tokens.
struct Node {
    QString name;
    QXmlStreamAttributes attributes;
    QString text;
    int depthChange;  // +1 start, -1 end
};

void BM_Write_RawStreamWriter(benchmark::State& state) {
    std::vector<Node> tokens;
    QXmlStreamReader reader(document());
    while (!reader.atEnd()) {
        switch (reader.readNext()) {
            case QXmlStreamReader::StartElement:
                tokens.push_back({reader.name().toString(), reader.attributes(), QString(), 1});
                break;
            case QXmlStreamReader::EndElement:
                tokens.push_back({QString(), {}, QString(), -1});
                break;
            case QXmlStreamReader::Characters:
                if (!reader.isWhitespace()) {
                    tokens.push_back({QString(), {}, reader.text().toString(), 0});
                }
                break;
            default:
                break;
        }
    }
    for (auto _ : state) {
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
        benchmark::DoNotOptimize(out.size());
    }
    setBytes(state);
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

}  // namespace

BENCHMARK(BM_Read_XMLElement)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_Read_XMLElementWithoutDestruction)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_Read_RawStreamReader)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_Read_QDomDocument)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_Read_Pugixml)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_Write_XMLElement)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_Write_RawStreamWriter)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_Write_QDomDocument)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_Write_Pugixml)->Unit(benchmark::kMillisecond)->MinTime(2.0);

BENCHMARK_MAIN();
