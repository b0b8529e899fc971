#!/usr/bin/python3
"""Fetches and prepares the photographs of bench/quality.py: bench/photographs.py FOLDER

They come from Debian's wallpaper packages (which name the photographers and licenses) and are reduced to 768 x 512, so
that their own noise is gone. FOLDER/train is for fitting, FOLDER/test for telling; no scene is in both. FOLDER/harmless
holds drawings, which must come out as they went in.
"""

import pathlib
import subprocess
import sys

PACKAGES = ("lomiri-wallpapers-16.04", "lomiri-wallpapers-20.04", "mate-backgrounds", "plasma-workspace-wallpapers",
            "ukui-wallpapers")
SETS = {
    "train": ("Dragonfly_by_Bolly", "Picture_1A_by_freespace", "aitzgorri_by_Aitzol_Berasategi",
              "friends_by_Aitzol_Berasategi", "life_by_Aitzol_Berasategi", "seeding_by_Clements_Engelhardt",
              "sunset_by_Aitzol_Berasategi", "greentock_by_Peter_Nerlich", "Dune", "Garden", "LadyBird", "RainDrops",
              "Storm", "GreenMeadow"),
    "test": ("Bridge_by_Sander_Klootwijk", "Picture_0B_by_freespace", "Wine_by_Jakkub_Mede",
             "picosdeeuropa_by_Aitzol_Berasategi", "Kleiber_by_Lukas_Baubkus", "BytheWater", "ColorfulCups",
             "FallenLeaf", "Kite", "OneStandsOut", "Path", "EveningGlow"),
    "harmless": ("Painting-Colors_by__herobrine7gamer", "umang_by_Abhishek_Mudgal", "Autumn", "calla", "city",
                 "goldfish", "desert"),
}


def fetch(folder):
    folder.mkdir(parents=True, exist_ok=True)
    for package in PACKAGES:
        if not list(folder.glob(f"{package}_*.deb")):
            subprocess.run(["apt-get", "download", package], cwd=folder, check=True)
    for archive in folder.glob("*.deb"):
        subprocess.run(["dpkg", "-x", archive, folder / "packages"], check=True)


def find(folder, name):
    """A wallpaper by its file's name, or the largest of those in a folder of that name."""
    pictures = [p for p in (folder / "packages").rglob("*") if p.suffix in (".jpg", ".png") and p.is_file()]
    named = [p for p in pictures if p.stem == name]
    inside = [p for p in pictures if f"/{name}/contents/images/" in str(p)]
    return max(named or inside, key=lambda p: p.stat().st_size)


def main():
    folder = pathlib.Path(sys.argv[1]).resolve()
    fetch(folder)
    for kind, names in SETS.items():
        (folder / kind).mkdir(exist_ok=True)
        for name in names:
            subprocess.run(["vipsthumbnail", find(folder, name), "-s", "768x512", "--smartcrop", "centre", "--eprofile",
                            "srgb", "-o", folder / kind / f"{name}.png"], check=True)


if __name__ == "__main__":
    main()
