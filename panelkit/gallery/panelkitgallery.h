#pragma once

#include <QWidget>

class ComboSlider;
class Dialog;
class MainView;

// Every PanelKit widget in every state, laid out like a real control panel.
class PanelKitGallery : public QWidget
{
    Q_OBJECT

public:
    explicit PanelKitGallery(QWidget *parent = nullptr);

    MainView *mainView() const { return m_view; }
    // Puts the keyboard focus on the energy slider, to show what focus looks like.
    void focusSample();
    // A sample frameless warning dialog, the kind a panel asks the operator with.
    Dialog *createSampleDialog(QWidget *parent);

private:
    QWidget *buildControlPage();
    QWidget *buildIndicatorPage();
    QWidget *buildInputPage();
    void buildSidePanel();
    QWidget *buildRemoteControl();

    MainView *m_view = nullptr;
    ComboSlider *m_energy = nullptr;
};
