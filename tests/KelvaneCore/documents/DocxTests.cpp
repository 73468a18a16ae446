// Filled in with the Docx reader and writer.
