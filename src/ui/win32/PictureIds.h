// Numbers of the pictures in the program's resources. Macros, because the resource compiler reads this file too.
#pragma once

// The icon that every program of this package has as its first resource.
#define PICTURE_PROGRAM 1
#define PICTURE_MODE0 201
#define PICTURE_MODE1 202
#define PICTURE_MODE2 203
#define PICTURE_SPINNER0 211
#define PICTURE_SPINNER1 212
#define PICTURE_SPINNER2 213
#define PICTURE_SPINNER3 214
#define PICTURE_SYNC 221
#define PICTURE_SETTINGS 222
#define PICTURE_LOG 223
#define PICTURE_BROWSE_RELEASED 231
#define PICTURE_BROWSE_PRESSED 232
