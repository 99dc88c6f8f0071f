#pragma once

struct sd_bus_message;

namespace zpk::bench {

// Reads the a{sv} at which a message stands with sd-bus alone and throws everything away: what no reader of the
// wire form can be faster than. Ends the program for a message that is not of that form.
void walkDictionary(sd_bus_message* message);

}  // namespace zpk::bench
