#pragma once

namespace torvo {

/// Joins lambdas into one visitor for `std::visit`.
template <typename... Cases>
struct Overloaded : Cases... {
    using Cases::operator()...;
};

} // namespace torvo
