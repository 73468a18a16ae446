#!/usr/bin/env python3
"""Writes a DOCX of `count` photos, two to a page, for the picture benchmark: four
3000x2000 JPEGs of noise made with vips, each used in turn, stored as they are.

Usage: photo_document.py OUTDIR [count]
"""
import os
import subprocess
import sys
import zipfile

W = "http://schemas.openxmlformats.org/wordprocessingml/2006/main"
NAMESPACES = (f'xmlns:w="{W}" '
              'xmlns:r="http://schemas.openxmlformats.org/officeDocument/2006/relationships" '
              'xmlns:wp="http://schemas.openxmlformats.org/drawingml/2006/wordprocessingDrawing" '
              'xmlns:a="http://schemas.openxmlformats.org/drawingml/2006/main" '
              'xmlns:pic="http://schemas.openxmlformats.org/drawingml/2006/picture"')


def photos(outdir):
    paths = []
    for k in range(4):
        noise, path = os.path.join(outdir, f"noise{k}.v"), os.path.join(outdir, f"photo{k}.jpg")
        subprocess.run(["vips", "gaussnoise", noise, "3000", "2000", "--mean", "128",
                        "--sigma", str(20 + 10 * k)], check=True)
        subprocess.run(["vips", "copy", noise, path + "[Q=85]"], check=True)
        os.remove(noise)
        paths.append(path)
    return paths


def picture(i):
    return (f'<w:p><w:r><w:drawing><wp:inline><wp:extent cx="5486400" cy="3657600"/>'
            f'<wp:docPr id="{i + 1}" name="Photo {i}" descr="photo {i}"/><a:graphic>'
            '<a:graphicData uri="http://schemas.openxmlformats.org/drawingml/2006/picture">'
            f'<pic:pic><pic:blipFill><a:blip r:embed="rPhoto{i}"/></pic:blipFill></pic:pic>'
            '</a:graphicData></a:graphic></wp:inline></w:drawing></w:r></w:p>')


def main():
    outdir = sys.argv[1]
    count = int(sys.argv[2]) if len(sys.argv) > 2 else 20
    jpegs = photos(outdir)
    body = "".join(f"<w:p><w:r><w:t>Photo number {i}</w:t></w:r></w:p>" + picture(i)
                   for i in range(count))
    relationships = "".join(
        f'<Relationship Id="rPhoto{i}" Type="http://schemas.openxmlformats.org/officeDocument/'
        f'2006/relationships/image" Target="media/photo{i}.jpg"/>' for i in range(count))
    with zipfile.ZipFile(os.path.join(outdir, "photos.docx"), "w", zipfile.ZIP_DEFLATED) as z:
        z.writestr("[Content_Types].xml",
                   '<?xml version="1.0" encoding="UTF-8"?><Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">'
                   '<Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml"/>'
                   '<Default Extension="xml" ContentType="application/xml"/><Default Extension="jpg" ContentType="image/jpeg"/>'
                   '<Override PartName="/word/document.xml" ContentType="application/vnd.openxmlformats-officedocument.wordprocessingml.document.main+xml"/></Types>')
        z.writestr("_rels/.rels",
                   '<?xml version="1.0" encoding="UTF-8"?><Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">'
                   '<Relationship Id="rId1" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument" Target="word/document.xml"/></Relationships>')
        z.writestr("word/_rels/document.xml.rels",
                   '<?xml version="1.0" encoding="UTF-8"?><Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">'
                   + relationships + "</Relationships>")
        z.writestr("word/document.xml", '<?xml version="1.0" encoding="UTF-8" standalone="yes"?>'
                   f"<w:document {NAMESPACES}><w:body>{body}<w:sectPr/></w:body></w:document>")
        for i in range(count):
            z.write(jpegs[i % len(jpegs)], f"word/media/photo{i}.jpg", compress_type=zipfile.ZIP_STORED)
    for path in jpegs:
        os.remove(path)


if __name__ == "__main__":
    main()
