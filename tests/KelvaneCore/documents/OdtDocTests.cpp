// Filled in with the OdtDoc reader and writer.
