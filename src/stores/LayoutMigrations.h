#pragma once

#include <vector>

#include "base/Uuid.h"
#include "stores/Preferences.h"
#include "stores/ShowFolder.h"

// The two one-time moves of older layout libraries, each guarded by a Boolean
// preference key so it runs once. Both run at start, in this order, after the
// decks are known and before the active deck is applied. Run with no decks,
// they would mark themselves done having moved nothing, and the operator's
// library would never reach the decks: whoever runs them owns the deck list.
namespace tavorin {

// From one library for all to one library per deck: every deck that exists
// gets a copy of "layouts.json" and "verticalLayouts.json" unless it already
// has its own file.
void migrateDeckLayouts(const ShowFolder& folder, const std::vector<Uuid>& deckIDs, Preferences& preferences);

// From a separate vertical library per deck to vertical designs inside the
// deck's layouts. A migrated vertical file is kept beside them as ".bak".
void migrateEmbeddedVertical(const ShowFolder& folder, const std::vector<Uuid>& deckIDs, Preferences& preferences);

// Both of the above, in their order.
void runLayoutMigrations(const ShowFolder& folder, const std::vector<Uuid>& deckIDs, Preferences& preferences);

}  // namespace tavorin
