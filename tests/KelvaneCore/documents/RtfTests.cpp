// Filled in with the Rtf reader and writer.
