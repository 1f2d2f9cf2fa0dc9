#pragma once

#include "core/document/SceneModel.h" // PathPoint
#include "model/vector/PdfLexer.h"
#include "model/vector/PdfObject.h"
#include "services/MappedFile.h"

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace velorin {

class PdfParser;

// The first page of a document.
class PdfPage {
public:
    // The dictionaries of the page and of the nodes of the tree above it, the root first.
    PdfPage(PdfParser& parser, std::vector<const PdfDictionary*> nodes)
        : parser_(parser), nodes_(std::move(nodes)) {}

    // The contours that the page paints, text as outlines, in page coordinates: points, y up. Tangents are
    // relative to their points. A page that is shown turned is turned about its corner. Throws PdfError for a
    // page beyond all measure.
    [[nodiscard]] std::vector<std::vector<PathPoint>> Paths() const;

private:
    template <class T>
    [[nodiscard]] const T* inherited(const char* key) const;
    void turn(std::vector<std::vector<PathPoint>>& paths) const;

    PdfParser& parser_;
    std::vector<const PdfDictionary*> nodes_;
};

// Reads the structure of a document: cross-reference tables and streams with their older versions, object
// streams, the page tree. A damaged table is replaced by a search for the objects. Every error is a PdfError
// with one sentence.
class PdfParser {
public:
    PdfParser();
    ~PdfParser();
    PdfParser(const PdfParser&) = delete;
    PdfParser& operator=(const PdfParser&) = delete;

    // Opens a file; the page lives as long as the parser.
    [[nodiscard]] PdfPage Read(const std::string& path);
    // The same from bytes that outlive the parser.
    [[nodiscard]] PdfPage ReadBytes(Bytes bytes);

    // Follows references to the object behind them; a reference to nothing, or a circle of them, is null.
    [[nodiscard]] const PdfObject* Resolve(const PdfObject* object);
    template <class T>
    [[nodiscard]] const T* Get(const PdfDictionary* dictionary, std::string_view name) {
        return dictionary ? As<T>(Resolve(dictionary->raw(name))) : nullptr;
    }
    [[nodiscard]] double Number(const PdfDictionary* dictionary, std::string_view name, double otherwise);
    [[nodiscard]] double Number(const PdfObject* object, double otherwise);
    // The name's text, empty when it is no name.
    [[nodiscard]] std::string Name(const PdfDictionary* dictionary, std::string_view name);
    // The dictionary of a dictionary or of a stream.
    [[nodiscard]] const PdfDictionary* Dictionary(const PdfObject* object);

    // The bytes of a stream, all its filters undone.
    [[nodiscard]] std::string Decode(const PdfStream& stream);

    [[nodiscard]] PdfPool& pool() { return pool_; }

private:
    struct Place {
        std::uint64_t offset = 0; // in the file, or the number of the object stream that holds it
        bool inStream = false;
    };
    struct ObjectStream {
        std::string text;
        std::unordered_map<std::uint32_t, std::size_t> objects; // offset in the text by number
    };

    [[nodiscard]] bool ReadCrossReferences();
    [[nodiscard]] bool ReadTable(PdfLexer& lexer, const PdfDictionary*& trailer);
    [[nodiscard]] bool ReadReferenceStream(std::size_t offset, const PdfDictionary*& trailer);
    void SearchObjects();
    [[nodiscard]] const PdfObject* ParseObjectAt(std::size_t offset, std::uint32_t expected);
    [[nodiscard]] const PdfObject* ReadStream(PdfLexer& lexer, const PdfDictionary* dictionary);
    [[nodiscard]] const PdfObject* Load(std::uint32_t number);
    [[nodiscard]] const PdfObject* LoadFromStream(const Place& place, std::uint32_t number);
    [[nodiscard]] std::vector<const PdfDictionary*> FirstPage();

    MappedFile file_;
    std::string_view text_;
    PdfPool pool_;
    std::unordered_map<std::uint32_t, Place> places_;
    std::unordered_map<std::uint32_t, const PdfObject*> loaded_;
    std::unordered_set<std::uint32_t> loading_; // what stands on the stack of Load
    std::unordered_map<std::uint64_t, std::unique_ptr<ObjectStream>> objectStreams_;
    const PdfDictionary* trailer_ = nullptr;
    std::size_t decoded_ = 0; // bytes so far, against kMostDecodedBytes
};

} // namespace velorin
