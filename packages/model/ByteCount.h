#pragma once

namespace Kavo::Models {

/// Whether a number of JSON is a number of bytes: whole, not negative, and not beyond 2^53, up to
/// which JSON's numbers are exact. No file is nearly as large.
bool isByteCount(double number);

} // namespace Kavo::Models
