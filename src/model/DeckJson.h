#pragma once

#include "model/Deck.h"
#include "model/Json.h"

// JSON coding of "decks.json". A tile is an object with its field names as
// keys, absent optionals left out. An action is an object with exactly one key,
// the case name, whose value holds the payload under "_0" and "_1" (the empty
// object for a case without one); a route is a one-key object the same way.
// Readers throw ModelDecodeError; an action or route object with any other
// number of keys fails with "Invalid number of keys found, expected one.".
namespace tavorin {

void to_json(Json& j, const HotkeyBinding& v);
void from_json(const Json& j, HotkeyBinding& v);
void to_json(Json& j, const DeckAction& v);
void from_json(const Json& j, DeckAction& v);
void to_json(Json& j, const DeckTile& v);
void from_json(const Json& j, DeckTile& v);
void to_json(Json& j, const Deck& v);
void from_json(const Json& j, Deck& v);

}  // namespace tavorin
