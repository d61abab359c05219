// The one exception type of Kestrova. Its text is a whole sentence for the
// user: it names the file (and, for disc structures, the table and offset)
// and says what was expected.
#pragma once

#include <stdexcept>
#include <string>

namespace kestrova {

class Error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace kestrova
