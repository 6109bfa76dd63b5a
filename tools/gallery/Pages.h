// The functions that build the pages, one source file each.
#pragma once

#include "Page.h"

namespace zustd::gallery {

void buildButtons(PageBuilder& builder);
void buildTexts(PageBuilder& builder);
void buildRanges(PageBuilder& builder);
void buildTree(PageBuilder& builder);
void buildGrid(PageBuilder& builder);
void buildDialogs(PageBuilder& builder);
void buildDrawing(PageBuilder& builder);
void buildWidgets(PageBuilder& builder);
void buildLayouts(PageBuilder& builder);
void buildMarkup(PageBuilder& builder);

}  // namespace zustd::gallery
