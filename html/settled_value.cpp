#include "html/settled_value.h"

#include "html/entity_table.h"
#include "html/unit_class.h"
#include "html/value_frame.h"

#include <utility>
#include <vector>

namespace tackle::html {

tag_kind kind_of(wstring_view name) {
    static constexpr std::pair<wstring_view, tag_kind> kinds[] = {
        {u"a", tag_kind::a},         {u"base", tag_kind::base},
        {u"body", tag_kind::body},   {u"/body", tag_kind::body_end},
        {u"br", tag_kind::br},       {u"img", tag_kind::img},
        {u"meta", tag_kind::meta},   {u"p", tag_kind::p},
        {u"style", tag_kind::style}, {u"title", tag_kind::title},
    };
    for (const auto& [known, kind] : kinds) {
        if (name == known) return kind;
    }
    return tag_kind::other;
}

bool is_absolute(wstring_view url) {
    return url.starts_with(u"http:") || url.starts_with(u"https:") || url.starts_with(u"mailto:");
}

namespace {

// So many units of bases are written as they are, over all values.
constexpr std::size_t whole_copies = 0x10000;

// Almost every value is at rest as it comes, so this is asked before any list is built. False whenever in doubt.
bool is_at_rest(wstring_view value) {
    const auto* classes = unit_classes();
    bool last_was_space = true;
    for (std::size_t i = 0; i < value.size(); ++i) {
        const auto unit = value[i];
        const bool is_white = (classes[unit] & white_unit) != 0;
        if (unit == u'<' || (is_white && last_was_space)) return false;
        last_was_space = is_white;
        if (unit != u'&') continue;
        const auto start = i + 1;
        while (i + 1 < value.size() && (classes[value[i + 1]] & name_unit) != 0)
            ++i;
        const auto name = value.substr(start, i + 1 - start);
        if (i + 1 == value.size() || value[i + 1] == u';') return false;
        if (read_entity_name(name).answer != entity_answer::unknown) return false;
    }
    return true;
}

} // namespace

class value_settler::work {
public:
    // The limits are those of value_settler.
    wstring settle(wstring_view value, std::size_t& growth_left, std::size_t& copies_left) {
        pool_.growth_left = growth_left;
        pool_.copies_left = copies_left;
        run(value);
        copies_left = pool_.copies_left;
        if (pool_.overflow) {
            pool_.growth_left = 0;
            pool_.stop_at_limit = false;
            run(value);
            pool_.stop_at_limit = true;
        } else {
            growth_left = pool_.growth_left;
        }
        return frames_[0]->text();
    }

private:
    void run(wstring_view value) {
        pool_.overflow = false;
        pool_.units.clear();
        // With what links write. To grow would take both sizes at once; what is reserved and not used costs nothing.
        pool_.units.reserve(2 * value.size() + 64);
        frames_.clear();
        frame_at(0).clear();
        for (const auto unit : value)
            frames_[0]->append(unit);
        frames_[0]->start();
        for (std::size_t depth = 0;;) {
            auto& inner = frame_at(depth + 1);
            auto& frame = *frames_[depth];
            if (!frame.run(inner)) {
                ++depth;
                continue;
            }
            if (depth == 0) break;
            --depth;
            frames_[depth]->resume(frame);
        }
    }

    value_frame& frame_at(std::size_t depth) {
        while (frames_.size() <= depth)
            frames_.push_back(std::make_unique<value_frame>(pool_));
        return *frames_[depth];
    }

    value_pool pool_;
    std::vector<std::unique_ptr<value_frame>> frames_; // each has the value that the one before it waits for
};

value_settler::value_settler() = default;
value_settler::value_settler(value_settler&&) noexcept = default;
value_settler& value_settler::operator=(value_settler&&) noexcept = default;
value_settler::~value_settler() = default;

void value_settler::limit_growth(std::size_t units) {
    growth_left_ = units;
    copies_left_ = whole_copies;
}

wstring value_settler::settle(wstring_view value) {
    if (is_at_rest(value)) return wstring(value);
    if (!work_) work_ = std::make_unique<work>();
    return work_->settle(value, growth_left_, copies_left_);
}

} // namespace tackle::html
