// SPDX-License-Identifier: MIT
// Expansion of environment-variable references in text.
//
// The expansion is defined step by step on a flat string: find the next reference from a
// position, replace every occurrence of its text in the whole string by the variable's value,
// and search again from the old position plus the length of the value. Done literally, every
// step rewrites the whole string, which makes a text with many references quadratic. The
// implementation below produces the same result in time close to linear in the text:
//
// - The text is held as a linked list of pieces that point into the original text and into
//   the values; replacing an occurrence relinks a few pieces instead of copying the string.
// - Every '%' or '$' starts its own piece, and each such piece is indexed under a key made of
//   the characters a reference starting there can depend on: the sign, an opening bracket
//   right after it, the run of name characters that follows (cut after 256 of them; a cut
//   key is completed from the text where it is used) and the next character. Every
//   occurrence of a reference text starts at a sign, so the occurrences of a reference are
//   exactly the pieces whose key equals it (closed and bracketed forms) or starts with it
//   (open forms such as "$NAME", which also occur inside "$NAMEX").
// - The pieces carry order labels, so occurrences can be taken from the left and the shift
//   that replacements before the current position cause can be counted; the scan resumes at
//   the same absolute index as in the literal definition.

#include <orrery/components.h>

#include <vexil/core.h>

#include <QHash>
#include <QRegExp>
#include <QVector>

#include <algorithm>
#include <deque>
#include <limits>
#include <map>
#include <vector>

namespace Orrery {

namespace {

// The reference forms: %NAME% and %NAME, $NAME, $(NAME) and %(NAME), ${NAME} and %{NAME}.
// The hyphen is a name character on purpose: "$A-b" names the variable "A-b".
const QLatin1String kReferencePattern(
    "(%[A-Za-z0-9_-]+%?)|(\\$[A-Za-z0-9_-]+)|([%\\$]\\([A-Za-z0-9_-]+\\))|"
    "([%\\$]\\{[A-Za-z0-9_-]+\\})");
const QLatin1String kDecorationPattern("[%\\$\\(\\)\\{\\}]");

// Removes every match of @p pattern from @p text, as QString::remove(const QRegExp&) of
// Qt 5 does (Qt 6 keeps QRegExp in its compatibility module but not in QString's members):
// each search starts where the last match ended, one further after an empty match.
void removeMatches(QString& text, QRegExp& pattern) {
    QString kept;
    int copied = 0;
    int from = 0;
    int pos = 0;
    while (from <= text.size() && (pos = pattern.indexIn(text, from)) != -1) {
        const int length = pattern.matchedLength();
        kept.append(text.constData() + copied, pos - copied);
        copied = pos + length;
        from = copied + (length == 0 ? 1 : 0);
    }
    if (copied == 0) {
        return;
    }
    kept.append(text.constData() + copied, text.size() - copied);
    text = kept;
}

// The most characters an expansion may add to its text (16 Mi).
constexpr qint64 kGrowthLimit = qint64(1) << 24;
// The most replacement steps an expansion takes beyond one per '%' or '$' of its text.
constexpr qint64 kExtraSteps = qint64(1) << 13;
// The most '%' and '$' characters the inserted values may bring in, all together (512 Ki).
// Each one starts a piece that is indexed and may be replaced again, so this bounds the
// work of values that multiply their own references faster than the growth limit would.
constexpr qint64 kInsertedSignLimit = qint64(1) << 19;
// Keys hold at most this many name characters. A sign followed by a longer run gets a cut
// key and is checked against the text when needed, so that a run that grows at every step
// is not copied into a new key at every step.
constexpr int kKeyRunLimit = 256;

bool isSign(QChar c) {
    return c == QLatin1Char('%') || c == QLatin1Char('$');
}

bool isOpenBracket(QChar c) {
    return c == QLatin1Char('(') || c == QLatin1Char('{');
}

bool isNameChar(QChar c) {
    const ushort u = c.unicode();
    return (u >= 'A' && u <= 'Z') || (u >= 'a' && u <= 'z') || (u >= '0' && u <= '9') || u == '_' ||
           u == '-';
}

struct Piece;

struct Bucket {
    Piece* first = nullptr;
};

using KeyIndex = std::map<QString, Bucket>;

struct Piece {
    const QChar* data = nullptr;
    int length = 0;
    Piece* prev = nullptr;
    Piece* next = nullptr;
    quint64 label = 0;
    bool sign = false;     // starts with '%' or '$' (and then is indexed under its key)
    bool dirty = false;    // key must be computed again
    bool indexed = false;  // present in the key index
    bool longKey = false;  // the key was cut after kKeyRunLimit name characters
    // Whether every character is a name character: -1 not known yet, 0 no, 1 yes.
    signed char nameOnly = -1;
    KeyIndex::iterator bucket;
    Piece* bucketPrev = nullptr;
    Piece* bucketNext = nullptr;
};

// A position in the piece list: before character `offset` of `piece`.
struct Position {
    Piece* piece;
    int offset;
};

// A value split at its signs, ready to be copied into the list.
struct Value {
    QString text;
    QVector<int> starts;  // piece starts within text (0 first when text is not empty)
    qint64 signs = 0;     // '%' and '$' characters in text
};

class Expander {
public:
    explicit Expander(const QString& text)
        : original_(text), reference_(kReferencePattern), decoration_(kDecorationPattern) {
        head_.label = 0;
        tail_.label = std::numeric_limits<quint64>::max();
        head_.next = &tail_;
        tail_.prev = &head_;
        build();
    }

    QString run() {
        qint64 pos = 0;
        QString token;
        // Values that bring their own reference back can also grow the text slowly, a few
        // characters per step, for a very long time; the number of steps is bounded too.
        qint64 steps =
            original_.count(QLatin1Char('%')) + original_.count(QLatin1Char('$')) + kExtraSteps;
        Piece* match = findMatch(Position{head_.next, 0}, 0, &pos, &token);
        while (match != nullptr && steps-- > 0) {
            const Value& value = valueOf(token);
            Position resume{&tail_, 0};
            const bool inRange = replaceAll(match, token, value, &resume);
            if (!inRange) {
                break;
            }
            match = findMatch(resume, pos + value.text.size(), &pos, &token);
        }
        return collect();
    }

private:
    // ------------------------------------------------------------------ construction

    void build() {
        const QChar* chars = original_.constData();
        const int size = original_.size();
        std::vector<std::pair<int, int>> spans;  // start, length
        int start = 0;
        for (int i = 1; i <= size; ++i) {
            if (i == size || isSign(chars[i])) {
                if (i > start) {
                    spans.emplace_back(start, i - start);
                }
                start = i;
            }
        }
        const quint64 step = spacing(spans.size());
        Piece* last = &head_;
        quint64 next = 0;
        for (const auto& span : spans) {
            Piece* piece = newPiece(chars + span.first, span.second);
            next += step;
            piece->label = next;
            link(last, piece);
            last = piece;
        }
        for (Piece* piece = head_.next; piece != &tail_; piece = piece->next) {
            if (piece->sign) {
                reindex(piece);
            }
        }
    }

    Piece* newPiece(const QChar* data, int length) {
        arena_.emplace_back();
        Piece* piece = &arena_.back();
        piece->data = data;
        piece->length = length;
        piece->sign = length > 0 && isSign(data[0]);
        ++count_;
        return piece;
    }

    static quint64 spacing(std::size_t pieces) {
        return std::numeric_limits<quint64>::max() / (static_cast<quint64>(pieces) + 2);
    }

    // Links `piece` right after `after`.
    static void link(Piece* after, Piece* piece) {
        piece->prev = after;
        piece->next = after->next;
        after->next->prev = piece;
        after->next = piece;
    }

    void unlink(Piece* piece) {
        piece->prev->next = piece->next;
        piece->next->prev = piece->prev;
        piece->prev = piece->next = nullptr;
        --count_;
    }

    // Gives the `pieces` new pieces strictly between `left` and `right` increasing labels.
    // When the gap is too small, the range is widened on both sides, doubling each time,
    // until its labels leave every piece in it a gap of more than twice their number, and
    // the pieces of that range are spread evenly. Values inserted again and again at one
    // place so relabel a neighbourhood, not the whole list.
    void label(Piece* left, Piece* right, int pieces) {
        Piece* from = left;
        Piece* to = right;
        quint64 inside = static_cast<quint64>(pieces);  // pieces strictly between from and to
        if (to->label - from->label <= inside) {
            for (quint64 widen = 1;; widen *= 2) {
                for (quint64 i = 0; i < widen && from != &head_; ++i) {
                    from = from->prev;
                    ++inside;
                }
                for (quint64 i = 0; i < widen && to != &tail_; ++i) {
                    to = to->next;
                    ++inside;
                }
                const quint64 gap = (to->label - from->label) / (inside + 1);
                if (gap > 2 * (inside + 1) || (from == &head_ && to == &tail_)) {
                    break;
                }
            }
        }
        const quint64 step = (to->label - from->label) / (inside + 1);
        quint64 value = from->label;
        for (Piece* piece = from->next; piece != to; piece = piece->next) {
            value += step;
            piece->label = value;
        }
    }

    // ------------------------------------------------------------------ key index

    // The characters a reference starting at `piece` can depend on; with `cut`, stops after
    // `runLimit` name characters and says so.
    QString keyOf(Piece* piece, int runLimit, bool* cut) const {
        QString key;
        Position at{piece, 0};
        key.append(at.piece->data[0]);
        advance(at);
        if (at.piece != &tail_ && isOpenBracket(charAt(at))) {
            key.append(charAt(at));
            advance(at);
        }
        *cut = false;
        for (int run = 0; at.piece != &tail_ && isNameChar(charAt(at)); ++run) {
            if (run == runLimit) {
                *cut = true;
                return key;
            }
            key.append(charAt(at));
            advance(at);
        }
        if (at.piece != &tail_) {
            key.append(charAt(at));
        }
        return key;
    }

    // The whole key of an indexed sign, also when the index holds it cut.
    QString fullKey(Piece* piece) const {
        if (!piece->longKey) {
            return piece->bucket->first;
        }
        bool cut = false;
        return keyOf(piece, std::numeric_limits<int>::max(), &cut);
    }

    static QChar charAt(const Position& at) { return at.piece->data[at.offset]; }

    // Moves one character on, skipping empty pieces; ends on the tail.
    void advance(Position& at) const {
        ++at.offset;
        while (at.piece != &tail_ && at.offset >= at.piece->length) {
            at.piece = at.piece->next;
            at.offset = 0;
        }
    }

    void unindex(Piece* piece) {
        if (!piece->indexed) {
            return;
        }
        if (piece->bucketPrev != nullptr) {
            piece->bucketPrev->bucketNext = piece->bucketNext;
        } else {
            piece->bucket->second.first = piece->bucketNext;
        }
        if (piece->bucketNext != nullptr) {
            piece->bucketNext->bucketPrev = piece->bucketPrev;
        }
        if (piece->bucket->second.first == nullptr) {
            index_.erase(piece->bucket);
        }
        piece->bucketPrev = piece->bucketNext = nullptr;
        piece->indexed = false;
    }

    void reindex(Piece* piece) {
        unindex(piece);
        bool cut = false;
        const auto bucket = index_.try_emplace(keyOf(piece, kKeyRunLimit, &cut)).first;
        piece->longKey = cut;
        piece->bucket = bucket;
        piece->bucketPrev = nullptr;
        piece->bucketNext = bucket->second.first;
        if (piece->bucketNext != nullptr) {
            piece->bucketNext->bucketPrev = piece;
        }
        bucket->second.first = piece;
        piece->indexed = true;
    }

    void markDirty(Piece* piece) {
        if (!piece->dirty) {
            piece->dirty = true;
            dirty_.push_back(piece);
        }
    }

    static bool nameOnly(Piece* piece) {
        if (piece->nameOnly < 0) {
            piece->nameOnly = static_cast<signed char>(
                std::all_of(piece->data, piece->data + piece->length, isNameChar));
        }
        return piece->nameOnly > 0;
    }

    // The sign whose key reaches the character right after `before`, if any: the run of name
    // characters (and an opening bracket right after the sign) ending at that point. A key
    // holds at most kKeyRunLimit name characters, so a sign further away keeps its key.
    Piece* signReaching(Piece* before) {
        Piece* piece = before;
        int i = piece->length - 1;
        bool bracketSeen = false;
        qint64 run = 0;
        while (piece != &head_) {
            if (run > kKeyRunLimit) {
                return nullptr;
            }
            if (i < 0) {
                piece = piece->prev;
                i = piece->length - 1;
                continue;
            }
            // A piece of name characters only is passed whole.
            if (!bracketSeen && !piece->sign && i == piece->length - 1 && nameOnly(piece)) {
                run += piece->length;
                i = -1;
                continue;
            }
            const QChar c = piece->data[i];
            if (isSign(c)) {
                return piece;  // signs always start their piece, so i is 0 here
            }
            if (bracketSeen || !(isNameChar(c) || isOpenBracket(c))) {
                return nullptr;
            }
            bracketSeen = isOpenBracket(c);
            run += bracketSeen ? 0 : 1;
            --i;
        }
        return nullptr;
    }

    // ------------------------------------------------------------------ scanning

    // The reference starting at `piece`, or an empty string. The key holds every character
    // the expression can look at from there, so matching the key is matching the text.
    QString referenceAt(Piece* piece) {
        const QString key = fullKey(piece);
        // A reference needs a name character after the sign, or after a bracket that
        // follows it; other keys are not given to the expression at all.
        const bool possible = key.size() >= 2 && (isNameChar(key.at(1)) ||
                                                  (isOpenBracket(key.at(1)) && key.size() >= 3));
        if (!possible || reference_.indexIn(key, 0) != 0) {
            return QString();
        }
        return reference_.cap(0);
    }

    // The first reference at or after `from`, whose absolute index is `fromIndex`.
    Piece* findMatch(Position from, qint64 fromIndex, qint64* matchIndex, QString* token) {
        qint64 index = fromIndex;
        Piece* piece = from.piece;
        if (piece != &tail_ && from.offset > 0) {
            index += piece->length - from.offset;
            piece = piece->next;
        }
        for (; piece != &tail_; piece = piece->next) {
            if (piece->sign) {
                *token = referenceAt(piece);
                if (!token->isEmpty()) {
                    *matchIndex = index;
                    return piece;
                }
            }
            index += piece->length;
        }
        return nullptr;
    }

    const Value& valueOf(const QString& token) {
        auto found = values_.find(token);
        if (found != values_.end()) {
            return found.value();
        }
        QString name = token;
        removeMatches(name, decoration_);
        Value value;
        value.text = QString::fromStdString(
            vexil::getenv_check_registry_stdstring(name.toLocal8Bit().toStdString()));
        for (int i = 0; i < value.text.size(); ++i) {
            if (i == 0 || isSign(value.text.at(i))) {
                value.starts.append(i);
            }
            if (isSign(value.text.at(i))) {
                ++value.signs;
            }
        }
        return values_.insert(token, value).value();
    }

    // ------------------------------------------------------------------ replacing

    // Occurrences of `token`, left to right.
    std::vector<Piece*> occurrences(const QString& token) const {
        std::vector<Piece*> found;
        const bool exact =
            isOpenBracket(token.at(1)) || (token.at(0) == QLatin1Char('%') && token.size() >= 3 &&
                                           token.endsWith(QLatin1Char('%')));
        auto collect = [&found](const Bucket& bucket) {
            for (Piece* piece = bucket.first; piece != nullptr; piece = piece->bucketNext) {
                found.push_back(piece);
            }
        };
        const bool bracket = isOpenBracket(token.at(1));
        const int run = token.size() - 1 - (bracket ? 1 : 0) - (exact ? 1 : 0);
        if (run > kKeyRunLimit) {
            // Only cut keys have runs this long: those that start like the token are
            // checked against the text.
            const QString probe = token.left(1 + (bracket ? 1 : 0) + kKeyRunLimit);
            for (auto bucket = index_.lower_bound(probe);
                 bucket != index_.end() && bucket->first.startsWith(probe); ++bucket) {
                for (Piece* piece = bucket->second.first; piece != nullptr;
                     piece = piece->bucketNext) {
                    if (!piece->longKey) {
                        continue;
                    }
                    const QString key = fullKey(piece);
                    if (exact ? key == token : key.startsWith(token)) {
                        found.push_back(piece);
                    }
                }
            }
        } else if (exact) {
            const auto bucket = index_.find(token);
            if (bucket != index_.end()) {
                collect(bucket->second);
            }
        } else {
            for (auto bucket = index_.lower_bound(token);
                 bucket != index_.end() && bucket->first.startsWith(token); ++bucket) {
                collect(bucket->second);
            }
        }
        std::sort(found.begin(), found.end(),
                  [](const Piece* a, const Piece* b) { return a->label < b->label; });
        return found;
    }

    // The next sign after `piece`; a "%NAME%" occurrence ends on it.
    Piece* nextSign(Piece* piece) const {
        for (Piece* next = piece->next; next != &tail_; next = next->next) {
            if (next->sign) {
                return next;
            }
        }
        return nullptr;
    }

    // Removes `length` characters from the start of `first` on; returns the piece before.
    Piece* erase(Piece* first, int length) {
        Piece* before = first->prev;
        Piece* piece = first;
        int remaining = length;
        while (remaining > 0 && piece != &tail_) {
            const int take = std::min(remaining, piece->length);
            if (piece->sign) {
                unindex(piece);
                piece->sign = false;  // what is left of the piece holds no sign
            }
            piece->data += take;
            piece->length -= take;
            if (piece->nameOnly == 0) {
                piece->nameOnly = -1;  // the character that was not may be gone
            }
            remaining -= take;
            Piece* next = piece->next;
            if (piece->length == 0) {
                unlink(piece);
            }
            piece = next;
        }
        return before;
    }

    // Inserts a copy of `value` after `before`; with `marker`, an empty piece goes first.
    void insert(Piece* before, const Value& value, Piece* marker) {
        Piece* right = before->next;
        Piece* last = before;
        int added = 0;
        if (marker != nullptr) {
            link(last, marker);
            ++count_;
            last = marker;
            ++added;
        }
        const QChar* data = value.text.constData();
        for (int i = 0; i < value.starts.size(); ++i) {
            const int start = value.starts.at(i);
            const int end =
                i + 1 < value.starts.size() ? value.starts.at(i + 1) : value.text.size();
            Piece* piece = newPiece(data + start, end - start);
            link(last, piece);
            last = piece;
            ++added;
            if (piece->sign) {
                markDirty(piece);
            }
        }
        if (added > 0) {
            label(before, right, added);
        }
    }

    // Replaces every occurrence of `token` left to right, as a string replace-all does, and
    // finds where the scan resumes: the old index of `match` plus the value's length.
    bool replaceAll(Piece* match, const QString& token, const Value& value, Position* resume) {
        const std::vector<Piece*> found = occurrences(token);
        const bool closedPercent = token.at(0) == QLatin1Char('%') &&
                                   token.endsWith(QLatin1Char('%')) && token.size() >= 3;
        std::vector<Piece*> accepted;
        accepted.reserve(found.size());
        Piece* overlapped = nullptr;  // sign that ends the last accepted "%NAME%"
        for (Piece* piece : found) {
            if (piece == overlapped) {
                continue;
            }
            accepted.push_back(piece);
            overlapped = closedPercent ? nextSign(piece) : nullptr;
        }

        // The anchor is the last accepted occurrence at or before the match: the match
        // itself, or the occurrence whose closing '%' is the match's sign.
        std::size_t anchor = 0;
        while (anchor + 1 < accepted.size() && accepted[anchor + 1]->label <= match->label) {
            ++anchor;
        }
        const qint64 matchOffset = accepted[anchor] == match ? 0 : token.size() - 1;
        const qint64 delta = static_cast<qint64>(value.text.size()) - token.size();
        // Values that bring their own reference back can double the text at every step
        // without end; past the growth limit, or once the values would have brought in too
        // many signs, the expansion stops and the text stays as it is.
        const qint64 newLength = length_ + static_cast<qint64>(accepted.size()) * delta;
        const qint64 newSigns = insertedSigns_ + static_cast<qint64>(accepted.size()) * value.signs;
        if (newLength > limit_ || newSigns > kInsertedSignLimit) {
            return false;
        }
        length_ = newLength;
        insertedSigns_ = newSigns;

        arena_.emplace_back();
        Piece* marker = &arena_.back();
        for (std::size_t i = 0; i < accepted.size(); ++i) {
            Piece* before = erase(accepted[i], token.size());
            insert(before, value, i == anchor ? marker : nullptr);
            if (Piece* reaching = signReaching(before)) {
                markDirty(reaching);
            }
        }
        for (Piece* piece : dirty_) {
            piece->dirty = false;
            if (piece->prev != nullptr && piece->sign) {
                reindex(piece);
            }
        }
        dirty_.clear();

        // In the new string the marker stands at old index + anchor * delta; the scan
        // resumes at old match index + value length.
        const qint64 shift = matchOffset + value.text.size() - static_cast<qint64>(anchor) * delta;
        const bool inRange = move(Position{marker, 0}, shift, resume);
        unlink(marker);
        return inRange;
    }

    // Moves `from` by `distance` characters; false when that lies past the end.
    bool move(Position from, qint64 distance, Position* to) const {
        Position at = from;
        if (distance >= 0) {
            qint64 remaining = distance;
            while (at.piece != &tail_) {
                const qint64 available = at.piece->length - at.offset;
                if (remaining < available) {
                    at.offset += static_cast<int>(remaining);
                    *to = at;
                    return true;
                }
                remaining -= available;
                at.piece = at.piece->next;
                at.offset = 0;
            }
            *to = at;
            return remaining == 0;
        }
        qint64 remaining = -distance;
        while (remaining > at.offset && at.piece->prev != &head_) {
            remaining -= at.offset;
            at.piece = at.piece->prev;
            at.offset = at.piece->length;
        }
        remaining = std::min<qint64>(remaining, at.offset);
        at.offset -= static_cast<int>(remaining);
        while (at.piece != &tail_ && at.offset >= at.piece->length) {
            at.piece = at.piece->next;
            at.offset = 0;
        }
        *to = at;
        return true;
    }

    QString collect() const {
        qint64 size = 0;
        for (const Piece* piece = head_.next; piece != &tail_; piece = piece->next) {
            size += piece->length;
        }
        QString result;
        result.reserve(static_cast<int>(size));
        for (const Piece* piece = head_.next; piece != &tail_; piece = piece->next) {
            result.append(piece->data, piece->length);
        }
        return result;
    }

    const QString original_;
    qint64 length_ = original_.size();
    const qint64 limit_ = original_.size() + kGrowthLimit;
    qint64 insertedSigns_ = 0;
    QRegExp reference_;
    QRegExp decoration_;
    std::deque<Piece> arena_;
    Piece head_;
    Piece tail_;
    std::size_t count_ = 0;
    KeyIndex index_;
    std::vector<Piece*> dirty_;
    QHash<QString, Value> values_;
};

}  // namespace

QString ExpandVars(const QString& text) {
    if (!text.contains(QLatin1Char('%')) && !text.contains(QLatin1Char('$'))) {
        return text;
    }
    return Expander(text).run();
}

}  // namespace Orrery
