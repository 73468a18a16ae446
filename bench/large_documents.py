#!/usr/bin/env python3
"""Writes large documents for the memory benchmark: DOCX, ODT, RTF and HTML each holding
about `megabytes` of text in short paragraphs, and with `--rich` a heading every 200
paragraphs and a small table every 2000.

Usage: large_documents.py OUTDIR [megabytes] [--rich]
"""
import os
import sys
import zipfile

WORDS = ("lorem ipsum dolor sit amet consectetur adipiscing elit sed do eiusmod tempor "
         "incididunt ut labore et dolore magna aliqua enim ad minim veniam quis nostrud").split()


def paragraphs(megabytes):
    total, index = 0, 0
    while total < megabytes * 1_000_000:
        words = [WORDS[(index * 7 + k * 3) % len(WORDS)] for k in range(20)]
        text = f"Paragraph {index} " + " ".join(words) + "."
        total += len(text) + 1
        yield index, text
        index += 1


def docx(path, megabytes, rich):
    body = []
    for index, text in paragraphs(megabytes):
        if rich and index % 200 == 0:
            body.append(f'<w:p><w:pPr><w:pStyle w:val="Heading1"/></w:pPr><w:r><w:t>Heading {index}</w:t></w:r></w:p>')
        if rich and index % 2000 == 1000:
            cells = "".join(f"<w:tc><w:p><w:r><w:t>Cell {index}.{c}</w:t></w:r></w:p></w:tc>" for c in range(3))
            body.append("<w:tbl>" + f"<w:tr>{cells}</w:tr>" * 4 + "</w:tbl>")
        body.append(f"<w:p><w:r><w:t>{text}</w:t></w:r></w:p>")
    document = ('<?xml version="1.0" encoding="UTF-8" standalone="yes"?>'
                '<w:document xmlns:w="http://schemas.openxmlformats.org/wordprocessingml/2006/main"><w:body>'
                + "".join(body) + "<w:sectPr/></w:body></w:document>")
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as z:
        z.writestr("[Content_Types].xml",
                   '<?xml version="1.0" encoding="UTF-8"?><Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">'
                   '<Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml"/>'
                   '<Default Extension="xml" ContentType="application/xml"/>'
                   '<Override PartName="/word/document.xml" ContentType="application/vnd.openxmlformats-officedocument.wordprocessingml.document.main+xml"/></Types>')
        z.writestr("_rels/.rels",
                   '<?xml version="1.0" encoding="UTF-8"?><Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">'
                   '<Relationship Id="rId1" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument" Target="word/document.xml"/></Relationships>')
        z.writestr("word/document.xml", document)


def odt(path, megabytes, rich):
    body = []
    for index, text in paragraphs(megabytes):
        if rich and index % 200 == 0:
            body.append(f'<text:h text:outline-level="1">Heading {index}</text:h>')
        if rich and index % 2000 == 1000:
            cells = "".join(f"<table:table-cell><text:p>Cell {index}.{c}</text:p></table:table-cell>" for c in range(3))
            body.append('<table:table><table:table-column table:number-columns-repeated="3"/>'
                        + f"<table:table-row>{cells}</table:table-row>" * 4 + "</table:table>")
        body.append(f"<text:p>{text}</text:p>")
    content = ('<?xml version="1.0" encoding="UTF-8"?><office:document-content '
               'xmlns:office="urn:oasis:names:tc:opendocument:xmlns:office:1.0" '
               'xmlns:text="urn:oasis:names:tc:opendocument:xmlns:text:1.0" '
               'xmlns:table="urn:oasis:names:tc:opendocument:xmlns:table:1.0" office:version="1.2">'
               "<office:body><office:text>" + "".join(body) + "</office:text></office:body></office:document-content>")
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as z:
        z.writestr(zipfile.ZipInfo("mimetype"), "application/vnd.oasis.opendocument.text", zipfile.ZIP_STORED)
        z.writestr("META-INF/manifest.xml",
                   '<?xml version="1.0" encoding="UTF-8"?><manifest:manifest xmlns:manifest="urn:oasis:names:tc:opendocument:xmlns:manifest:1.0">'
                   '<manifest:file-entry manifest:full-path="/" manifest:media-type="application/vnd.oasis.opendocument.text"/>'
                   '<manifest:file-entry manifest:full-path="content.xml" manifest:media-type="text/xml"/></manifest:manifest>')
        z.writestr("content.xml", content)


def rtf(path, megabytes, rich):
    with open(path, "w", encoding="ascii") as out:
        out.write("{\\rtf1\\ansi\\deff0{\\fonttbl{\\f0 Times New Roman;}}\n")
        for index, text in paragraphs(megabytes):
            if rich and index % 200 == 0:
                out.write(f"\\pard\\b\\fs36 Heading {index}\\b0\\fs24\\par\n")
            if rich and index % 2000 == 1000:
                row = "\\trowd\\cellx2000\\cellx4000\\cellx6000" + "".join(
                    f"\\pard\\intbl Cell {index}.{c}\\cell" for c in range(3)) + "\\row\n"
                out.write(row * 4)
            out.write(f"\\pard {text}\\par\n")
        out.write("}\n")


def html(path, megabytes, rich):
    with open(path, "w", encoding="utf-8") as out:
        out.write("<!DOCTYPE html><html><body>\n")
        for index, text in paragraphs(megabytes):
            if rich and index % 200 == 0:
                out.write(f"<h1>Heading {index}</h1>\n")
            if rich and index % 2000 == 1000:
                cells = "".join(f"<td>Cell {index}.{c}</td>" for c in range(3))
                out.write("<table>" + f"<tr>{cells}</tr>" * 4 + "</table>\n")
            out.write(f"<p>{text}</p>\n")
        out.write("</body></html>\n")


def main():
    outdir = sys.argv[1]
    megabytes = float(sys.argv[2]) if len(sys.argv) > 2 and sys.argv[2] != "--rich" else 24
    rich = "--rich" in sys.argv
    suffix = "-rich" if rich else ""
    os.makedirs(outdir, exist_ok=True)
    for write, extension in ((docx, "docx"), (odt, "odt"), (rtf, "rtf"), (html, "html")):
        write(os.path.join(outdir, f"large{suffix}.{extension}"), megabytes, rich)


if __name__ == "__main__":
    main()
