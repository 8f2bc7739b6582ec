#pragma once

#include <array>
#include <string_view>

namespace mv::tool::words {

/// The vocabulary of the demo data. Invented names; beside ASCII only the letters from À to ÿ and the euro sign occur,
/// because every character of the demo must survive the way to a handheld and back (handhelds garble the characters
/// between them).

struct Model {
  std::string_view make;
  std::string_view model;
  std::string_view manufacturerCode;  ///< the first three characters of its vehicle numbers
  int cylinders;                      ///< 0 for an electric drive
  int displacement;                   ///< in cubic centimetres
};

inline constexpr std::array<Model, 16> kModels = {{
    {"Ardenne", "Côte 1.6", "VA1", 4, 1598},
    {"Ardenne", "Volt-Été", "VA2", 0, 0},
    {"Bexley", "Wayfarer", "SBX", 6, 2996},
    {"Bexley", "Dart", "SBD", 3, 998},
    {"Córdova", "Peñón 4x4", "VSC", 4, 2143},
    {"Dürrwald", "Kombi 2.0", "WDW", 4, 1968},
    {"Dürrwald", "Straßenfuchs", "WDS", 6, 2995},
    {"Fjällberg", "Älg", "YFB", 5, 2401},
    {"Granby", "Hauler 350", "1GH", 8, 5328},
    {"Granby", "Prairie", "1GP", 6, 3604},
    {"Hoshino", "Miyabi", "JHM", 4, 1497},
    {"Hoshino", "Kaze R", "JHK", 4, 659},
    {"Ikaza", "Río", "KIR", 4, 1368},
    {"Jönsson", "Öresund", "YJO", 5, 2435},
    {"Lancaster & Sons", "Tourer", "SLT", 12, 5935},
    {"Montañés", "Carga", "VSM", 4, 2299},
}};

inline constexpr std::array<std::string_view, 40> kGivenNames = {
    "Zoé",    "Jérôme", "Åsa",    "Björn",  "Inês",  "Séan",    "Anne-Marie", "Günther", "Lucía", "Håkon",
    "Martha", "Owen",   "Priya",  "Tomás",  "Renée", "Walter",  "Élodie",     "Ñusta",   "Ulf",   "Grace",
    "Ioana",  "Karl",   "Noëlle", "Pelle",  "Rosa",  "Søren",   "Tess",       "Víctor",  "Wanda", "Yann",
    "Adèle",  "Bruno",  "Chloë",  "Dieter", "Erik",  "Frances", "Gil",        "Hélène",  "Ida",   "João"};

inline constexpr std::array<std::string_view, 40> kFamilyNames = {
    "Müller",   "Lefèvre", "Öberg",    "Sørensen", "Gonçalves", "Byrne",  "Keller-Voß", "Weiß",   "Ibáñez", "Dahl",
    "Whitby",   "Hughes",  "Raman",    "Núñez",    "Dupré",     "Stone",  "Garçon",     "Quispe", "Ström",  "Hall",
    "Munteanu", "Groß",    "Gauthier", "Åkesson",  "Bianchi",   "Jensen", "Carter",     "Peña",   "Mazur",  "Kerbrat",
    "Moreau",   "Neri",    "Brontë",   "Schäfer",  "Lund",      "Oakley", "Bárcena",    "Ménard", "Holm",   "Simões"};

inline constexpr std::array<std::string_view, 12> kStreets = {
    "Rue des Tanneurs",   "Hauptstraße",     "Mill Lane",    "Calle del Río", "Storgatan", "Elm Avenue",
    "Chaussée Brunehaut", "Am Güterbahnhof", "Harbour Road", "Plaza Mayor",   "Østergade", "O'Neill Street"};

inline constexpr std::array<std::string_view, 12> kCities = {"Liège",  "Köln",        "Stockport", "Málaga",
                                                             "Malmö",  "Springfield", "Besançon",  "Würzburg",
                                                             "Galway", "A Coruña",    "Århus",     "São Brás"};

inline constexpr std::array<std::string_view, 8> kColors = {"Silver", "Night blue",    "Gris métal", "Weiß",
                                                            "Rojo",   "British green", "Crème",      "Black"};

inline constexpr std::array<std::string_view, 10> kShops = {"Garage Lefèvre & Fils",
                                                            "Müller Kfz-Werkstatt",
                                                            "O'Brien's Tire & Lube",
                                                            "Talleres Ibáñez",
                                                            "Quick Lane #12",
                                                            "Verkstad Öst AB",
                                                            "Self",
                                                            "Oficina do João",
                                                            "\"The Pit Stop\"",
                                                            "Dahl Bilverksted"};

inline constexpr std::array<std::string_view, 10> kStations = {
    "Relais de l'Étoile", "Tankhof Süd",        "Route 9 Fuel",     "Gasolinera Peñón", "Macken Åre",
    "Harbour Self-Serve", "Autohof Geiselwind", "Estación Central", "Coop Østerbro",    "Highway 61 Stop"};

inline constexpr std::array<std::string_view, 14> kTasks = {
    "Oil and filter change", "Rotate tires",        "Replace front brake pads", "Inspect belts and hoses",
    "Replace cabin filter",  "Flush coolant",       "Contrôle technique",       "Ölwechsel und Inspektion",
    "Check wheel alignment", "Replace spark plugs", "Cambio de neumáticos",     "Replace wiper blades",
    "Byta kamrem",           "Battery test"};

inline constexpr std::array<std::string_view, 14> kParts = {"Oil filter",
                                                            "Engine oil 5W-30, 1 L",
                                                            "Brake pad set, front",
                                                            "Courroie d'accessoires",
                                                            "Cabin filter",
                                                            "Coolant, 5 L",
                                                            "Zündkerze",
                                                            "Wiper blade 24\"",
                                                            "Neumático 205/55 R16",
                                                            "Battery 70 Ah",
                                                            "Timing belt kit",
                                                            "Gasket, oil pan",
                                                            "Bulb H7",
                                                            "Fuse 15 A"};

inline constexpr std::array<std::string_view, 10> kAccessories = {
    "Roof rack",   "Trailer hitch", "Winter tires", "Siège enfant", "Dachbox 420 L",
    "Dash camera", "Floor mats",    "Bike carrier", "Cargo net",    "Protector de maletero"};

inline constexpr std::array<std::string_view, 10> kAccessoryItems = {
    "Cross bar",        "Clamp set", "Wiring kit 13-pin", "Schraubensatz", "Key cylinder",
    "Mounting bracket", "Câble",     "Rim 16\"",          "Valve cap",     "Strap"};

inline constexpr std::array<std::string_view, 8> kFields = {"Insurance policy", "Registration expires", "Tire pressure",
                                                            "Key code",         "Radio code",           "Oil type",
                                                            "Company car",      "Emissions class"};

inline constexpr std::array<std::string_view, 10> kFieldValues = {"AX-4471-20, Assurances Générales",
                                                                  "2009-03-31",
                                                                  "2.3 / 2.5 bar",
                                                                  "K-90417",
                                                                  "0815",
                                                                  "5W-30 fully synthetic",
                                                                  "yes",
                                                                  "Euro 4",
                                                                  "",
                                                                  "Prämie: 389 € im Jahr"};

inline constexpr std::array<std::string_view, 6> kMethods = {"Cash",        "Check",       "Visa",
                                                             "Überweisung", "Prélèvement", "Debit card"};

inline constexpr std::array<std::string_view, 10> kPurposes = {"Client visit, Liège",
                                                               "School run",
                                                               "Airport pick-up",
                                                               "Baustelle Würzburg",
                                                               "Fournisseur à Besançon",
                                                               "Weekend at the coast",
                                                               "Parts run",
                                                               "Trade fair \"AutoExpo\"",
                                                               "Commute",
                                                               "Visita a Málaga"};

/// Sentences of the notes.
inline constexpr std::array<std::string_view, 16> kNotes = {
    "Changed oil and filter; no leaks found.",
    "Customer reports a rattle at low speed, could not reproduce it.",
    "Bruit à l'avant gauche, à vérifier à la prochaine visite.",
    "Bremsflüssigkeit geprüft, Wert in Ordnung.",
    "Left rear tire worn on the inner edge; alignment advised.",
    "Kostenvoranschlag: 240 € plus Steuer.",
    "Battery holds 12.4 V after a night, replaced under warranty.",
    "Se cambió el filtro de aire y se limpió la admisión.",
    "Torque checked: 110 Nm, \"as per sheet\".",
    "Don't forget to reset the service light.",
    "Nästa service om 15000 km eller 12 månader.",
    "Road test done, 18 km, no fault codes.",
    "Spare key handed back to the owner.",
    "Windscreen chip (driver's side) filled.",
    "Vidange faite, joint de bouchon remplacé.",
    "Trailer hitch wiring repaired; right indicator works again."};

}  // namespace mv::tool::words
