#ifndef VELUTRARESOURCES_H
#define VELUTRARESOURCES_H

// Registers the images and the licence text. Resources in a static library
// are only linked in when something asks for them; safe to call repeatedly.
void initVelutraResources();

#endif // VELUTRARESOURCES_H
