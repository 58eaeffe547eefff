// The language in which the panel and the programs speak.
#pragma once

namespace talo
{

// Takes the catalogue of the first language that the user wants and that there is one of, and Qt's
// own for its buttons. English needs none: the texts in the sources are English. For the moment
// after the application object is made and before anything is said.
void useUserLanguage();

} // namespace talo
