// What a function has left behind, word by word, to be compared between plug-ins.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

class Record {
  public:
    // name is a literal.
    template <typename Value>
    void add(const char* name, const Value& value) {
        static_assert(std::is_trivially_copyable_v<Value> && sizeof value % 4 == 0);
        add(name, &value, 1);
    }
    template <typename Value>
    void add(const char* name, const Value* values, std::size_t count) {
        const std::size_t begin = words_.size(), size = count * sizeof(Value);
        words_.resize(begin + size / 4);
        if (count > 0) std::memcpy(words_.data() + begin, values, size);
        fields_.push_back({name, begin});
    }

    // The first place in which another record differs, any NaN being equal to any other; empty when
    // there is none.
    std::string difference(const Record& other) const {
        for (std::size_t i = 0; i < std::max(words_.size(), other.words_.size()); ++i)
            if (i >= words_.size() || i >= other.words_.size() ||
                !equal(words_[i], other.words_[i]))
                return place(i) + ": " + text(i) + " and " + other.text(i);
        return {};
    }

  private:
    struct Field {
        const char* name;
        std::size_t begin;
    };

    static bool is_nan(std::uint32_t word) { return (word & 0x7fffffff) > 0x7f800000; }
    static bool equal(std::uint32_t a, std::uint32_t b) {
        return a == b || (is_nan(a) && is_nan(b));
    }

    std::string place(std::size_t i) const {
        const Field* at = &fields_.front();
        for (const Field& field : fields_)
            if (field.begin <= i) at = &field;
        return std::string(at->name) + " word " + std::to_string(i - at->begin);
    }

    std::string text(std::size_t i) const {
        if (i >= words_.size()) return "nothing";
        float number;
        std::memcpy(&number, &words_[i], 4);
        char text[64];
        std::snprintf(text, sizeof text, "%.9g (%08x)", static_cast<double>(number), words_[i]);
        return text;
    }

    std::vector<std::uint32_t> words_;
    std::vector<Field> fields_;
};
